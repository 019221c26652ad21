#include "utils/SystemInfo.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/ScratchDir.h"
#include "utils/Conversions.h"
#include "utils/platform/Platform.h"

namespace {

using testsupport::ScopedEnv;
using testsupport::ScratchDir;

std::string Narrow(const fn::fn_wstring& text) {
    return Utils::wstring2utf8(text);
}

TEST(UserSettings, CountryAndLanguageComeFromTheLocaleVariables) {
    struct Case {
        std::optional<std::string> lcAll, lcMessages, lang, language;
        std::string country, languageTag;
    };
    const auto unset = std::nullopt;
    // clang-format off
    const Case cases[] = {
        {unset, unset, "en_US.UTF-8", unset, "US", "en-US"},  {unset, unset, "en", unset, "en", "en"},
        {unset, unset, "en_", unset, "en", "en-"},            {unset, unset, "en_US_POSIX", unset, "US_POSIX", "en-US-POSIX"},
        {unset, unset, "de_AT@euro", "ja:de", "AT", "ja"},    {unset, unset, "de_DE", ":fr_CA:", "DE", "fr-CA"},
        {"fr_FR", "it_IT", "de_DE", unset, "FR", "fr-FR"},    {"", "it_IT", "de_DE", unset, "IT", "it-IT"},
        {"C", unset, "de_DE", "ja", "", ""},                  {unset, unset, "C.UTF-8", "ja", "", "ja"},
        {unset, unset, "POSIX", unset, "", ""},               {unset, unset, unset, "ja", "", ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        ScopedEnv all("LC_ALL", c.lcAll), messages("LC_MESSAGES", c.lcMessages),
            lang("LANG", c.lang), language("LANGUAGE", c.language);
        EXPECT_EQ(Narrow(Utils::getCountry()), c.country) << c.lang.value_or("-");
        EXPECT_EQ(Narrow(Utils::getLanguage()), c.languageTag) << c.lang.value_or("-");
    }
}

TEST(Processor, MapsMachinesToTypeNumbersAndTypeNumbersToNames) {
    const std::pair<const char*, int> machines[] = {
        {"x86_64", 7},   {"i686", 7}, {"aarch64", 12}, {"armv7l", 12},
        {"ppc64le", 18}, {"m68k", 6}, {"riscv64", 0},  {"i86", 0}};
    for (const auto& [machine, type] : machines) {
        EXPECT_EQ(Platform::ProcessorTypeCodeForMachine(machine), type) << machine;
    }
    const std::pair<int, const char*> types[] = {
        {6, "68k"},      {12, "ARM"},           {16777228, "ARM"}, {33554444, "ARM"},
        {18, "PowerPC"}, {16777234, "PowerPC"}, {7, "Intel"},      {16777223, "Intel"},
        {0, "Intel"},    {13, "Intel"}};
    for (const auto& [type, name] : types) {
        EXPECT_EQ(Narrow(Utils::getProcessorTypeFor(type)), name) << type;
    }
#if defined(__x86_64__)
    EXPECT_EQ(Narrow(Utils::getProcessorType()), "Intel");
#elif defined(__aarch64__)
    EXPECT_EQ(Narrow(Utils::getProcessorType()), "ARM");
#endif
}

TEST(OsVersion, PacksTheFirstReleaseFilesVersionAsHexDigits) {
    ScratchDir scratch;
    const std::pair<std::string, unsigned long> cases[] = {
        {"VERSION_ID=\"10.3.2\"", 1049346},  {"VERSION_ID=10.3.1", 1049345},
        {"VERSION_ID='10.15.7'", 0x101507},  {"VERSION_ID=\"12\"", 0x120000},
        {"VERSION_ID=\"24.04\"", 0x240400},  {"VERSION_ID=\"x.2\"", 0x000200},
        {"VERSION_ID=\"100.1\"", 0x1000100}, {"NAME=\"no version\"", 0}};
    for (const auto& [line, packed] : cases) {
        Platform::SetOsReleaseFiles({scratch.Write("os-release", "NAME=Test\n" + line + "\n")});
        EXPECT_EQ(Utils::getOsBuildNumber(), packed) << line;
    }
    // The first release file that exists decides, even without a version.
    const std::string lib = scratch.Write("lib-os-release", "VERSION_ID=9\n");
    Platform::SetOsReleaseFiles({scratch / "missing", lib});
    EXPECT_EQ(Utils::getOsBuildNumber(), 0x090000u);
    Platform::SetOsReleaseFiles({scratch.Write("etc-os-release", "ID=test\n"), lib});
    EXPECT_EQ(Utils::getOsBuildNumber(), 0u);
}

// The caches live for the whole process, so one test walks through them.
TEST(OsVersion, NameAndVersionAreCachedOnceNonEmpty) {
    ScratchDir scratch;
    Platform::SetOsReleaseFiles({scratch / "os-release"});
    EXPECT_EQ(Narrow(Utils::getOsVersion()), ""); // unreadable: asked again next time
    EXPECT_EQ(Narrow(Utils::getOsName()), "Apple MacOS (null)");
    scratch.Write("os-release", "VERSION_ID=\"12.4\"\n");
    EXPECT_EQ(Narrow(Utils::getOsVersion()), "12.4");
    EXPECT_EQ(Narrow(Utils::getOsName()), "Apple MacOS (null)"); // kept for good
    scratch.Write("os-release", "VERSION_ID=\"13\"\n");
    EXPECT_EQ(Narrow(Utils::getOsVersion()), "12.4");
    EXPECT_EQ(Utils::getOsBuildNumber(), 0x130000u); // not cached
}

// Racing first callers: the tsan preset reports any unguarded fill.
TEST(OsVersion, ConcurrentFirstCallsAgree) {
    ScratchDir scratch;
    Platform::SetOsReleaseFiles({scratch.Write("os-release", "VERSION_ID=\"12.4\"\n")});
    std::string seen[4];
    std::vector<std::thread> callers;
    for (std::string& answer : seen) {
        callers.emplace_back([&answer] {
            answer = Narrow(Utils::getOsName()) + "|" + Narrow(Utils::getOsVersion());
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    for (const std::string& answer : seen) {
        EXPECT_EQ(answer, "Apple MacOS 12.4|12.4");
    }
}

} // namespace
