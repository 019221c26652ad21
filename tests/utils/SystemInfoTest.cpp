#include "utils/SystemInfo.h"

#include <gtest/gtest.h>

#include <optional>

#include "tests/support/ScratchDir.h"
#include "utils/Conversions.h"
#include "utils/platform/Platform.h"

namespace {

using testsupport::ScopedEnv;
using testsupport::ScratchDir;

std::string Narrow(const fn::fn_wstring& text) {
    return Utils::wstring2utf8(text);
}

struct LocaleCase {
    std::optional<std::string> lcAll, lcMessages, lang, language;
    std::string country;
    std::string languageTag;
};

TEST(UserSettings, CountryAndLanguageComeFromTheLocaleVariables) {
    const std::nullopt_t unset = std::nullopt;
    const LocaleCase cases[] = {
        {unset, unset, "en_US.UTF-8", unset, "US", "en-US"},
        {unset, unset, "en", unset, "en", "en"},
        {unset, unset, "en_", unset, "en", "en-"},
        {unset, unset, "en_US_POSIX", unset, "US_POSIX", "en-US-POSIX"},
        {unset, unset, "de_AT@euro", "ja:de", "AT", "ja"},
        {unset, unset, "de_DE.UTF-8", ":fr_CA:", "DE", "fr-CA"},
        {"fr_FR", "it_IT", "de_DE", unset, "FR", "fr-FR"},
        {"", "it_IT", "de_DE", unset, "IT", "it-IT"},
        {"C", unset, "de_DE", "ja", "", ""},     // C wins and means none
        {unset, unset, "C.UTF-8", "ja", "", ""}, // LANGUAGE is ignored under C
        {unset, unset, "POSIX", unset, "", ""},
        {unset, unset, unset, "ja", "", ""},
    };
    for (const LocaleCase& c : cases) {
        ScopedEnv all("LC_ALL", c.lcAll);
        ScopedEnv messages("LC_MESSAGES", c.lcMessages);
        ScopedEnv lang("LANG", c.lang);
        ScopedEnv language("LANGUAGE", c.language);
        EXPECT_EQ(Narrow(Utils::getCountry()), c.country) << c.lang.value_or("-");
        EXPECT_EQ(Narrow(Utils::getLanguage()), c.languageTag) << c.lang.value_or("-");
    }
}

TEST(Processor, MapsTypeNumbersWithIntelAsFallback) {
    struct Case {
        int type;
        const char* name;
    };
    const Case cases[] = {
        {6, "68k"},      {12, "ARM"},           {16777228, "ARM"}, {33554444, "ARM"},
        {18, "PowerPC"}, {16777234, "PowerPC"}, {7, "Intel"},      {16777223, "Intel"},
        {0, "Intel"},    {-1, "Intel"},         {13, "Intel"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Narrow(Utils::getProcessorTypeFor(c.type)), c.name) << c.type;
    }
}

TEST(Processor, MapsMachineNamesToTypeNumbers) {
    struct Case {
        const char* machine;
        int type;
    };
    const Case cases[] = {
        {"x86_64", 7},  {"i686", 7},     {"i386", 7}, {"aarch64", 12},
        {"armv7l", 12}, {"ppc64le", 18}, {"m68k", 6}, {"riscv64", 0},
        {"i86", 0},     {"x86", 0},      {"", 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Platform::ProcessorTypeCodeForMachine(c.machine), c.type) << c.machine;
    }
#if defined(__x86_64__)
    EXPECT_EQ(Narrow(Utils::getProcessorType()), "Intel");
#elif defined(__aarch64__)
    EXPECT_EQ(Narrow(Utils::getProcessorType()), "ARM");
#endif
}

TEST(OsVersion, PacksReleaseVersionsAsHexDigits) {
    ScratchDir scratch;
    struct Case {
        std::string line;
        unsigned long packed;
    };
    const Case cases[] = {
        {"VERSION_ID=\"10.3.2\"", 1049346},
        {"VERSION_ID=10.3.1", 1049345},
        {"VERSION_ID='10.15.7'", 0x101507},
        {"VERSION_ID=\"11.2.3\"", 0x110203},
        {"VERSION_ID=\"12\"", 0x120000},
        {"VERSION_ID=\"24.04\"", 0x240400},
        {"VERSION_ID=\"x.2\"", 0x000200},
        {"VERSION_ID=\"100.1\"", 0x1000100}, // three digits shift the packing
        {"NAME=\"no version\"", 0},
    };
    for (const Case& c : cases) {
        Platform::SetOsReleaseFiles({scratch.Write("os-release", "NAME=Test\n" + c.line + "\n")});
        EXPECT_EQ(Utils::getOsBuildNumber(), c.packed) << c.line;
    }
    Platform::SetOsReleaseFiles({scratch / "missing", scratch / "missing-too"});
    EXPECT_EQ(Utils::getOsBuildNumber(), 0u);
}

TEST(OsVersion, FirstExistingReleaseFileDecides) {
    ScratchDir scratch;
    const std::string etc = scratch.Write("etc-os-release", "ID=test\n");
    const std::string lib = scratch.Write("lib-os-release", "VERSION_ID=9\n");
    std::string version;
    Platform::SetOsReleaseFiles({scratch / "missing", lib});
    EXPECT_TRUE(Platform::ProductVersion(&version));
    EXPECT_EQ(version, "9");
    Platform::SetOsReleaseFiles({etc, lib});
    EXPECT_FALSE(Platform::ProductVersion(&version));
}

// The caches live for the whole process, so one test walks through them.
TEST(OsVersion, NameAndVersionAreCachedOnceNonEmpty) {
    ScratchDir scratch;
    Platform::SetOsReleaseFiles({scratch / "os-release"});

    // Unreadable: the version stays empty and is asked again, the name keeps
    // the placeholder for good.
    EXPECT_EQ(Narrow(Utils::getOsVersion()), "");
    EXPECT_EQ(Narrow(Utils::getOsName()), "Apple MacOS (null)");

    scratch.Write("os-release", "VERSION_ID=\"12.4\"\n");
    EXPECT_EQ(Narrow(Utils::getOsVersion()), "12.4");
    EXPECT_EQ(Narrow(Utils::getOsName()), "Apple MacOS (null)");

    scratch.Write("os-release", "VERSION_ID=\"13\"\n");
    EXPECT_EQ(Narrow(Utils::getOsVersion()), "12.4"); // read once
    EXPECT_EQ(Utils::getOsBuildNumber(), 0x130000u);  // not cached
}

} // namespace
