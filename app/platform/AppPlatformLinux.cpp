// The companion app's seam on Linux (Debian's package managers, POSIX files).
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/auxv.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "app/platform/AppPlatform.h"
#include "utils/platform/Platform.h"

extern char* program_invocation_short_name; // glibc

namespace AppPlatform {

namespace {

constexpr const char* kDebconfFrontend = "/usr/share/debconf/frontend";

bool IsSet(const char* name) {
    return !Platform::EnvironmentVariable(name).value_or("").empty();
}

// `path` is there and its kind (links followed) satisfies `isKind`.
bool HasKind(const std::string& path, bool (*isKind)(mode_t)) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && isKind(info.st_mode);
}

bool IsOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

std::string Folder(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

} // namespace

Installer CurrentInstaller() {
    if (IsSet("DEBIAN_HAS_FRONTEND")) {
        return Installer::kDebconf;
    }
    return IsSet("DPKG_MAINTSCRIPT_PACKAGE") ? Installer::kMaintainerScript : Installer::kNone;
}

bool DebconfReshowsQuestions() {
    return IsSet("DEBCONF_RECONFIGURE");
}

bool NobodyMayBeAsked() {
    return Platform::EnvironmentVariable("DEBIAN_FRONTEND") == "noninteractive";
}

bool MayHaveDisplay() {
    return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY") || IsSet("QT_QPA_PLATFORM");
}

std::string DisplayPlatforms() {
    const std::string wanted = Platform::EnvironmentVariable("QT_QPA_PLATFORM").value_or("");
    if (!wanted.empty()) {
        return wanted;
    }
    return IsSet("WAYLAND_DISPLAY") ? "wayland;xcb" : "xcb";
}

void SetDisplayPlatforms(const std::string& platforms) {
    setenv("QT_QPA_PLATFORM", platforms.c_str(), 1);
}

std::optional<DebconfPipes> DebconfChannel() {
    DebconfPipes pipes{IsSet("DEBCONF_REDIR") ? 3 : STDOUT_FILENO, STDIN_FILENO};
    // A person's terminal is never debconf: we would be typing at them.
    if (!IsOpen(pipes.commands) || !IsOpen(pipes.replies) || isatty(pipes.replies)) {
        return std::nullopt;
    }
    signal(SIGPIPE, SIG_IGN); // a debconf that went away is an error result, not our end
    return pipes;
}

std::optional<std::string> ReadLine(int fd, int timeoutMs) {
    pollfd ready{fd, POLLIN, 0};
    int polled;
    while ((polled = poll(&ready, 1, timeoutMs)) < 0 && errno == EINTR) {
    }
    if (polled <= 0) {
        return std::nullopt;
    }
    std::string line;
    for (;;) {
        char c;
        const ssize_t got = read(fd, &c, 1);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return std::nullopt;
        }
        if (c == '\n') {
            return line;
        }
        line += c;
    }
}

bool HasDebconfFrontend() {
    return access(kDebconfFrontend, X_OK) == 0;
}

int RunUnderDebconfFrontend(const std::vector<std::string>& arguments) {
    std::vector<char*> argv{const_cast<char*>(kDebconfFrontend)};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    const std::optional<std::string> package =
        Platform::EnvironmentVariable("DPKG_MAINTSCRIPT_PACKAGE");
    const pid_t child = fork();
    if (child < 0) {
        return -1;
    }
    if (child == 0) {
        // The frontend sets up its own channel to the program it runs.
        unsetenv("DEBCONF_REDIR");
        unsetenv("DEBIAN_HAS_FRONTEND");
        setenv("PERL_DL_NONLAZY", "1", 1); // as debconf's confmodule starts it
        if (package) {
            setenv("DEBCONF_PACKAGE", package->c_str(), 0); // the frontend's title names it
        }
        execv(kDebconfFrontend, argv.data());
        _exit(127);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string ExecutablePath() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : "";
}

std::string LaunchPath() {
    // AT_EXECFN is the name handed to execve(), before the kernel followed
    // any link; the folders are resolved now, before anything changes the
    // working directory.
    const char* started = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    if (started == nullptr || *started == '\0') {
        return ExecutablePath();
    }
    const std::string path = started;
    char resolved[PATH_MAX];
    if (realpath(Folder(path).c_str(), resolved) == nullptr) {
        return ExecutablePath();
    }
    const std::string folder = resolved;
    return (folder == "/" ? "" : folder) + "/" + path.substr(path.find_last_of('/') + 1);
}

int OpenTerminal() {
    return open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
}

int TerminalColumns(int fd) {
    winsize size{};
    return ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void CloseTerminal(int fd) {
    close(fd);
}

bool IsRegularFile(const std::string& path) {
    return HasKind(path, [](mode_t mode) { return S_ISREG(mode); });
}

bool IsDirectory(const std::string& path) {
    return HasKind(path, [](mode_t mode) { return S_ISDIR(mode); });
}

void* LoadPluginEntry(const std::string& path, const char* symbol, std::string* error) {
    // Never closed: the panel's objects live until the process ends.
    void* plugin = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* entry = plugin != nullptr ? dlsym(plugin, symbol) : nullptr;
    if (entry == nullptr) {
        const char* reason = dlerror();
        *error = reason != nullptr ? reason : "no entry point";
    }
    return entry;
}

void WriteLogLine(const std::string& text) {
    timeval now{};
    gettimeofday(&now, nullptr);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
    std::fprintf(stderr, "%s.%03ld %s[%d] %s\n", stamp, static_cast<long>(now.tv_usec / 1000),
                 program_invocation_short_name, static_cast<int>(getpid()), text.c_str());
    syslog(LOG_NOTICE, "%s", text.c_str());
}

bool ReadSmallRegularFile(const std::string& path, std::size_t maxBytes, std::string* bytes) {
    const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    struct stat info;
    bool ok = fstat(fd, &info) == 0 && S_ISREG(info.st_mode) &&
              static_cast<std::size_t>(info.st_size) <= maxBytes;
    bytes->clear();
    char chunk[65536];
    while (ok) {
        const ssize_t got = read(fd, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            ok = got == 0;
            break;
        }
        bytes->append(chunk, static_cast<std::size_t>(got));
        ok = bytes->size() <= maxBytes; // it may have grown since fstat
    }
    close(fd);
    return ok;
}

bool ReplaceWithEmptyFile(const std::string& path) {
    std::string temporary = Folder(path) + "/.quorvel-marker-XXXXXX";
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool modeSet = fchmod(fd, 0644) == 0;
    const bool ok = close(fd) == 0 && modeSet;
    // rename() replaces the name itself, whatever it was; it never follows it.
    if (!ok || rename(temporary.c_str(), path.c_str()) != 0) {
        unlink(temporary.c_str());
        return false;
    }
    return true;
}

void RemoveUnlessFolder(const std::string& path) {
    struct stat info;
    if (lstat(path.c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) {
        unlink(path.c_str());
    }
}

} // namespace AppPlatform
