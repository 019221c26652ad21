// Test fixtures: a fresh folder per test, and environment variables set for
// the length of one test.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>

namespace testsupport {

// A new empty folder under /tmp, removed with its contents afterwards. The
// working directory is put back too, since several helpers move it.
class ScratchDir {
public:
    ScratchDir() : savedCwd_(std::filesystem::current_path()) {
        char pattern[] = "/tmp/quorvel-test-XXXXXX";
        path_ = mkdtemp(pattern);
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::current_path(savedCwd_, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

    // Writes `content` to `name` inside the folder (making its parents).
    std::string Write(const std::string& name, const std::string& content) const {
        const std::string file = *this / name;
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }

private:
    std::filesystem::path savedCwd_;
    std::string path_;
};

// Sets (or with no value, unsets) one environment variable until destroyed.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* old = std::getenv(name)) {
            saved_ = old;
        }
        Apply(value);
    }
    ~ScopedEnv() { Apply(saved_); }

private:
    void Apply(const std::optional<std::string>& value) {
        value ? setenv(name_.c_str(), value->c_str(), 1) : unsetenv(name_.c_str());
    }
    std::string name_;
    std::optional<std::string> saved_;
};

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

} // namespace testsupport
