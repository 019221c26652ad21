#include "utils/platform/Platform.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <system_error>

#include "utils/SettingsText.h"

namespace Platform {
namespace {

std::string Environment(const char* name) {
    return EnvironmentVariable(name).value_or("");
}

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

// The value of `key` in a KEY=value file (os-release, user-dirs.dirs);
// false when the file or the key is missing.
bool ReadKeyValue(const std::string& path, const std::string& key, std::string* value) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (std::optional<std::string> found = SettingsText::KeyValue(line, key)) {
            *value = std::move(*found);
            return true;
        }
    }
    return false;
}

std::string HomeDirectory() {
    std::string home = Environment("HOME");
    if (!home.empty()) {
        return home;
    }
    struct passwd entry;
    struct passwd* found = nullptr;
    char buffer[4096];
    if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr) {
        return found->pw_dir;
    }
    return "";
}

std::string WithoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

std::mutex gOsReleaseMutex;
std::vector<std::string> gOsReleaseFiles = {"/etc/os-release", "/usr/lib/os-release"};

} // namespace

namespace {

// The messages locale as set, codeset and all ("C.UTF-8"); empty when unset.
std::string MessagesLocaleVariable() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        std::string locale = Environment(name);
        if (!locale.empty()) {
            return locale;
        }
    }
    return "";
}

} // namespace

std::string UserLocale() {
    return SettingsText::LocaleName(MessagesLocaleVariable());
}

std::vector<std::string> UserLanguages() {
    // gettext's rule, which apt and dpkg follow: LANGUAGE counts unless the
    // locale is plain C, so "C.UTF-8" with LANGUAGE=de speaks German.
    const std::string locale = MessagesLocaleVariable();
    const bool plainC = locale.empty() || locale == "C" || locale == "POSIX";
    return SettingsText::LanguageTags(plainC ? "" : Environment("LANGUAGE"), UserLocale());
}

int ProcessorTypeCodeForMachine(const std::string& machine) {
    const bool x86 = machine == "x86_64" ||
                     (machine.size() == 4 && machine[0] == 'i' && machine.substr(2) == "86");
    if (x86) {
        return 7;
    }
    if (machine == "aarch64" || StartsWith(machine, "arm")) {
        return 12;
    }
    if (StartsWith(machine, "ppc")) {
        return 18;
    }
    if (machine == "m68k") {
        return 6;
    }
    return 0;
}

int ProcessorTypeCode() {
    struct utsname name;
    if (uname(&name) != 0) {
        return 0;
    }
    return ProcessorTypeCodeForMachine(name.machine);
}

void SetOsReleaseFiles(std::vector<std::string> paths) {
    std::lock_guard<std::mutex> guard(gOsReleaseMutex);
    gOsReleaseFiles = std::move(paths);
}

bool ProductVersion(std::string* version) {
    std::vector<std::string> files;
    {
        std::lock_guard<std::mutex> guard(gOsReleaseMutex);
        files = gOsReleaseFiles;
    }
    // The first release file that exists is the system's, as systemd reads it.
    for (const std::string& path : files) {
        if (access(path.c_str(), R_OK) == 0) {
            return ReadKeyValue(path, "VERSION_ID", version);
        }
    }
    return false;
}

VersionNumbers OperatingSystemVersion() {
    std::string version;
    if (!ProductVersion(&version)) {
        return {};
    }
    return SettingsText::ParseVersionNumbers(version);
}

std::string TemporaryDirectory() {
    const std::string fromEnvironment = Environment("TMPDIR");
    if (StartsWith(fromEnvironment, "/")) {
        return WithoutTrailingSlashes(fromEnvironment);
    }
    const std::string own = "/tmp/quorvel-" + std::to_string(getuid());
    return MakePrivateDirectory(own) ? own : "";
}

std::string DocumentsDirectory() {
    const std::string home = HomeDirectory();
    if (home.empty()) {
        return "";
    }
    std::string config = Environment("XDG_CONFIG_HOME");
    if (!StartsWith(config, "/")) {
        config = home + "/.config";
    }
    std::string documents;
    if (ReadKeyValue(config + "/user-dirs.dirs", "XDG_DOCUMENTS_DIR", &documents)) {
        if (StartsWith(documents, "$HOME")) {
            documents = home + documents.substr(5);
        }
        if (StartsWith(documents, "/")) {
            return WithoutTrailingSlashes(documents);
        }
    }
    return WithoutTrailingSlashes(home) + "/Documents";
}

bool MakeDirectoryWithParents(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    return !error && std::filesystem::is_directory(path, error);
}

bool MakePrivateDirectory(const std::string& path) {
    const std::string parent = path.substr(0, path.find_last_of('/'));
    if (!parent.empty() && !MakeDirectoryWithParents(parent)) {
        return false;
    }
    mkdir(path.c_str(), 0700); // an existing folder is checked below all the same
    struct stat info;
    if (lstat(path.c_str(), &info) != 0) {
        return false;
    }
    return S_ISDIR(info.st_mode) && info.st_uid == geteuid() && (info.st_mode & 022) == 0;
}

std::optional<std::string> EnvironmentVariable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) {
        return std::nullopt;
    }
    return std::string(value);
}

int CreatePrivateFile(const std::string& path, int flags) {
    return open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | flags, 0600);
}

std::string UtcTimeStamp() {
    const std::time_t now = std::time(nullptr);
    std::tm broken{};
    char stamp[64] = {};
    if (gmtime_r(&now, &broken) == nullptr || asctime_r(&broken, stamp) == nullptr) {
        return "";
    }
    return std::string(stamp, 24); // without asctime's line feed
}

bool WriteAll(int fd, const std::string& data) {
    std::size_t written = 0;
    while (written < data.size()) {
        const ssize_t count = write(fd, data.data() + written, data.size() - written);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        written += static_cast<std::size_t>(count);
    }
    return true;
}

} // namespace Platform
