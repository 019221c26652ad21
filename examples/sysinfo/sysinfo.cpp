// Prints what the system information queries answer on this machine, and
// where the per-user folders and the diagnostic log are.
#include <cstdio>
#include <string>

#include "utils/Utils.h"

namespace {

void Show(const char* label, const fn::fn_wstring& value) {
    std::printf("%-20s %s\n", label, Utils::wstring2utf8(value).c_str());
}

void Show(const char* label, const std::string& value) {
    std::printf("%-20s %s\n", label, value.c_str());
}

} // namespace

int main() {
    Show("country", Utils::getCountry());
    Show("language", Utils::getLanguage());
    Show("processor", Utils::getProcessorType());
    Show("os name", Utils::getOsName());
    Show("os version", Utils::getOsVersion());
    std::printf("%-20s 0x%lx (%lu)\n", "os build number", Utils::getOsBuildNumber(),
                Utils::getOsBuildNumber());
    Show("temporary folder", Utils::GetTempDirName());
    Show("diagnostic log", Utils::GetLogFilename());
    Show("logging", std::string(Utils::IsLoggingOn() ? "on" : "off"));
    return 0;
}
