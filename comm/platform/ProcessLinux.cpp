#include "comm/platform/Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "utils/platform/Platform.h"

extern char** environ;

namespace Process {
namespace {

bool IsProxyVariable(const char* entry) {
    static const char* const kNames[] = {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY",
                                         "no_proxy",   "NO_PROXY",   "all_proxy",   "ALL_PROXY"};
    for (const char* name : kNames) {
        const std::size_t length = std::strlen(name);
        if (std::strncmp(entry, name, length) == 0 && entry[length] == '=') {
            return true;
        }
    }
    return false;
}

// The wait status of `command` run by /bin/sh in `environment`.
int SpawnShellAndWait(const std::string& command, std::vector<char*>& environment) {
    const char* arguments[] = {"sh", "-c", command.c_str(), nullptr};
    pid_t child = -1;
    if (posix_spawn(&child, "/bin/sh", nullptr, nullptr, const_cast<char**>(arguments),
                    environment.data()) != 0) {
        return 127 << 8; // as system() reports a shell that could not be run
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return status;
}

} // namespace

ShellStatus DecodeWaitStatus(int waitStatus) {
    ShellStatus decoded;
    decoded.waitStatus = waitStatus;
    if (WIFEXITED(waitStatus)) {
        decoded.exitCode = WEXITSTATUS(waitStatus);
    } else if (WIFSIGNALED(waitStatus)) {
        decoded.exitCode = 0;
        decoded.signal = WTERMSIG(waitStatus);
    }
    return decoded;
}

ShellStatus RunShellCommand(const std::string& commandLine) {
    std::vector<char*> environment;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (!IsProxyVariable(*entry)) {
            environment.push_back(*entry);
        }
    }
    environment.push_back(nullptr);
    return DecodeWaitStatus(SpawnShellAndWait(commandLine, environment));
}

NewFile CreatePrivateFileWith(const std::string& path, const std::string& content) {
    const int fd = Platform::CreatePrivateFile(path, O_EXCL);
    if (fd < 0) {
        return errno == EEXIST ? NewFile::NameTaken : NewFile::Failed;
    }
    // fchmod because the umask may have taken bits away from 0600.
    const bool written = fchmod(fd, 0600) == 0 && Platform::WriteAll(fd, content);
    if (close(fd) == 0 && written) {
        return NewFile::Created;
    }
    unlink(path.c_str());
    return NewFile::Failed;
}

} // namespace Process
