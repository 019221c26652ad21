#include "utils/SystemInfo.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "utils/Conversions.h"
#include "utils/platform/Platform.h"

namespace Utils {

fn::fn_wstring getCountry() {
    const fn::fn_wstring locale = utf8towstring(Platform::UserLocale());
    const std::size_t underscore = locale.find(L'_');
    if (underscore == fn::fn_wstring::npos) {
        return locale;
    }
    // Deliberately lopsided: "en_" keeps the part before the underscore.
    if (underscore + 1 == locale.size()) {
        return locale.substr(0, underscore);
    }
    return locale.substr(underscore + 1);
}

fn::fn_wstring getLanguage() {
    const std::vector<std::string> languages = Platform::UserLanguages();
    return languages.empty() ? fn::fn_wstring() : utf8towstring(languages.front());
}

fn::fn_wstring getProcessorTypeFor(int cpuType) {
    switch (cpuType) {
    case 6:
        return L"68k";
    case 12:
    case 0x0100000C:
    case 0x0200000C:
        return L"ARM";
    case 18:
    case 0x01000012:
        return L"PowerPC";
    default:
        return L"Intel"; // every unknown processor counts as Intel, deliberately
    }
}

fn::fn_wstring getProcessorType() {
    return getProcessorTypeFor(Platform::ProcessorTypeCode());
}

fn::fn_wstring getOsName() {
    static fn::fn_wstring cache;
    if (!cache.empty()) {
        return cache;
    }
    std::string version;
    if (!Platform::ProductVersion(&version)) {
        version = "(null)"; // how a missing version has always been printed
    }
    cache = utf8towstring("Apple MacOS " + version);
    return cache;
}

fn::fn_wstring getOsVersion() {
    static fn::fn_wstring cache;
    if (!cache.empty()) {
        return cache;
    }
    std::string version;
    if (Platform::ProductVersion(&version)) {
        cache = utf8towstring(version);
    }
    return cache;
}

unsigned long getOsBuildNumber() {
    const Platform::VersionNumbers version = Platform::OperatingSystemVersion();
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "0x%02d%02d%02d", static_cast<int>(version.major),
                  static_cast<int>(version.minor), static_cast<int>(version.patch));
    return std::strtoul(buffer, nullptr, 16);
}

} // namespace Utils
