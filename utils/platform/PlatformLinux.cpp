#include "utils/platform/Platform.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <system_error>

namespace Platform {
namespace {

std::string Environment(const char* name) {
    return EnvironmentVariable(name).value_or("");
}

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

std::string WithoutQuotes(const std::string& value) {
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front()) {
        return value.substr(1, value.size() - 2);
    }
    return value;
}

// The value of `key` in a KEY=value file (os-release, user-dirs.dirs);
// false when the file or the key is missing.
bool ReadKeyValue(const std::string& path, const std::string& key, std::string* value) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (StartsWith(line, key + "=")) {
            *value = WithoutQuotes(line.substr(key.size() + 1));
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

std::string UserLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        std::string locale = Environment(name);
        if (locale.empty()) {
            continue;
        }
        locale = locale.substr(0, locale.find_first_of(".@"));
        return (locale == "C" || locale == "POSIX") ? "" : locale;
    }
    return "";
}

std::vector<std::string> UserLanguages() {
    const std::string locale = UserLocale();
    if (locale.empty()) {
        return {}; // LANGUAGE is ignored under the C locale, as gettext does
    }
    std::vector<std::string> languages;
    const std::string list = Environment("LANGUAGE");
    std::size_t start = 0;
    while (start <= list.size() && !list.empty()) {
        std::size_t colon = list.find(':', start);
        if (colon == std::string::npos) {
            colon = list.size();
        }
        if (colon > start) {
            languages.push_back(list.substr(start, colon - start));
        }
        start = colon + 1;
    }
    if (languages.empty()) {
        languages.push_back(locale);
    }
    for (std::string& tag : languages) {
        tag = tag.substr(0, tag.find_first_of(".@"));
        for (char& c : tag) {
            c = c == '_' ? '-' : c;
        }
    }
    return languages;
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

VersionNumbers ParseVersionNumbers(const std::string& text) {
    VersionNumbers numbers;
    long* parts[] = {&numbers.major, &numbers.minor, &numbers.patch};
    std::size_t start = 0;
    for (long* part : parts) {
        if (start > text.size()) {
            break;
        }
        const std::size_t dot = text.find('.', start);
        const std::string piece = text.substr(start, dot - start);
        const bool numeric =
            !piece.empty() && piece.find_first_not_of("0123456789") == std::string::npos;
        *part = numeric ? std::strtol(piece.c_str(), nullptr, 10) : 0;
        start = dot == std::string::npos ? text.size() + 1 : dot + 1;
    }
    return numbers;
}

VersionNumbers OperatingSystemVersion() {
    std::string version;
    if (!ProductVersion(&version)) {
        return {};
    }
    return ParseVersionNumbers(version);
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

} // namespace Platform
