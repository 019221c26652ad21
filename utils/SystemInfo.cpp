#include "utils/SystemInfo.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "utils/Conversions.h"
#include "utils/platform/Platform.h"

namespace Utils {
namespace {

// A text cache kept from its first non-empty value on. The lock covers only
// the look and the store, so two first callers may both read the system (the
// version file is cheap to read twice) but never touch the string at once.
class FilledOnce {
public:
    template <typename Read> fn::fn_wstring Get(Read read) {
        {
            std::lock_guard<std::mutex> hold(m_mutex);
            if (!m_value.empty()) {
                return m_value;
            }
        }
        fn::fn_wstring value = read();
        std::lock_guard<std::mutex> hold(m_mutex);
        if (m_value.empty()) {
            m_value = value;
        }
        return m_value;
    }

private:
    std::mutex m_mutex;
    fn::fn_wstring m_value;
};

} // namespace

fn::fn_wstring getCountry() {
    const fn::fn_wstring locale = utf8towstring(Platform::UserLocale());
    const std::size_t underscore = locale.find(L'_');
    if (underscore == fn::fn_wstring::npos) {
        return locale;
    }
    // Deliberately lopsided: "en_" keeps the part before the underscore, the
    // country text the library's users were written against.
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
        // Every unknown processor counts as Intel, deliberately: the library's
        // users (and quorvel-diag's report) know only these four names.
        return L"Intel";
    }
}

fn::fn_wstring getProcessorType() {
    return getProcessorTypeFor(Platform::ProcessorTypeCode());
}

fn::fn_wstring getOsName() {
    static FilledOnce cache;
    return cache.Get([] {
        std::string version;
        if (!Platform::ProductVersion(&version)) {
            version = "(null)"; // how a missing version has always been printed
        }
        return utf8towstring("Apple MacOS " + version);
    });
}

fn::fn_wstring getOsVersion() {
    static FilledOnce cache;
    return cache.Get([] {
        std::string version;
        return Platform::ProductVersion(&version) ? utf8towstring(version) : fn::fn_wstring();
    });
}

unsigned long getOsBuildNumber() {
    const Platform::VersionNumbers version = Platform::OperatingSystemVersion();
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "0x%02d%02d%02d", static_cast<int>(version.major),
                  static_cast<int>(version.minor), static_cast<int>(version.patch));
    return std::strtoul(buffer, nullptr, 16);
}

} // namespace Utils
