#include "utils/DiagnosticLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "utils/FileHelpers.h"
#include "utils/platform/Platform.h"

namespace Utils {
namespace {

constexpr std::size_t kWideMessageBufferSize = 1024;

// Opens the log for appending, or returns null when its folder is missing.
// A link planted in place of the file is refused rather than followed.
std::FILE* OpenLog() {
    const int fd = Platform::CreatePrivateFile(GetLogFilename(), O_APPEND);
    if (fd < 0) {
        return nullptr;
    }
    std::FILE* file = fdopen(fd, "a");
    if (file == nullptr) {
        close(fd);
    }
    return file;
}

// asctime's UTC stamp with its line feed turned into a blank, then "%s ":
// two blanks before the message.
void WriteStamp(std::FILE* file) {
    std::string stamp = Platform::UtcTimeStamp();
    if (!stamp.empty()) {
        stamp += ' ';
    }
    std::fprintf(file, "%s ", stamp.c_str());
}

void Append(const char* message, const std::int32_t* errorCode) {
    std::FILE* file = OpenLog();
    if (file == nullptr) {
        return; // the log is off
    }
    WriteStamp(file);
    if (errorCode != nullptr) {
        std::fprintf(file, "Message: %s ErrorCode: %d\n", message, static_cast<int>(*errorCode));
    } else {
        std::fprintf(file, "Message: %s\n", message);
    }
    std::fclose(file);
}

// The wide message as multibyte text, always terminated inside the buffer.
struct NarrowedMessage {
    explicit NarrowedMessage(const fn::fn_wstring& message) {
        std::wcstombs(text, message.c_str(), sizeof text - 1);
        text[sizeof text - 1] = '\0';
    }
    char text[kWideMessageBufferSize] = {};
};

} // namespace

std::string GetLogFilename() {
    return GetTempDirName() + "/quorvel-logs/log.txt";
}

bool IsLoggingOn() {
    return DirExists(GetDirFromPath(GetLogFilename()));
}

void LogMessage(const std::string& message, std::int32_t errorCode) {
    Append(message.c_str(), &errorCode);
}

void LogMessage(const std::string& message) {
    Append(message.c_str(), nullptr);
}

void LogMessage(const fn::fn_wstring& message, std::int32_t errorCode) {
    const NarrowedMessage narrowed(message);
    Append(narrowed.text, &errorCode);
}

void LogMessage(const fn::fn_wstring& message) {
    const NarrowedMessage narrowed(message);
    Append(narrowed.text, nullptr);
}

} // namespace Utils
