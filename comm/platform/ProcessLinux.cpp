#include "comm/platform/Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

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

} // namespace

int RunShellCommand(const std::string& commandLine) {
    std::vector<char*> environment;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (!IsProxyVariable(*entry)) {
            environment.push_back(*entry);
        }
    }
    environment.push_back(nullptr);
    const char* arguments[] = {"sh", "-c", commandLine.c_str(), nullptr};
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

int CreateNewPrivateFile(const std::string& path) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd >= 0 && fchmod(fd, 0600) != 0) { // the umask may have taken bits away
        const int error = errno;
        close(fd);
        unlink(path.c_str());
        errno = error;
        return -1;
    }
    return fd;
}

bool WriteWholeAndClose(int fd, const std::string& data) {
    std::size_t written = 0;
    bool ok = true;
    while (ok && written < data.size()) {
        const ssize_t count = write(fd, data.data() + written, data.size() - written);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        ok = count > 0;
        written += ok ? static_cast<std::size_t>(count) : 0;
    }
    return close(fd) == 0 && ok;
}

} // namespace Process
