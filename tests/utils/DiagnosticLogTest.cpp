#include "utils/DiagnosticLog.h"

#include <gtest/gtest.h>

#include <clocale>
#include <ctime>
#include <filesystem>
#include <regex>

#include "tests/support/ScratchDir.h"
#include "utils/Conversions.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ReadFile;
using testsupport::ScopedEnv;
using testsupport::ScratchDir;

// The log's text with each line's stamp (24 characters, then two blanks)
// written "@".
std::string WithoutStamps(const std::string& text) {
    static const std::regex stamp(R"(\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4}  )");
    return std::regex_replace(text, stamp, "@");
}

class DiagnosticLogTest : public ::testing::Test {
protected:
    ScratchDir scratch;
    ScopedEnv tmp{"TMPDIR", scratch.path()};
    std::string folder = scratch / "TemporaryItems/quorvel-logs";
    std::string file = folder + "/log.txt";
};

TEST_F(DiagnosticLogTest, IsOnExactlyWhileItsFolderExists) {
    EXPECT_EQ(Utils::GetLogFilename(), file);
    EXPECT_FALSE(Utils::IsLoggingOn());
    Utils::LogMessage("narrow", 3);
    Utils::LogMessage(fn::fn_wstring(L"wide"));
    EXPECT_FALSE(fs::exists(folder)); // never made by the log itself

    fs::create_directories(folder);
    EXPECT_TRUE(Utils::IsLoggingOn());
    Utils::LogMessage("kept");
    fs::remove_all(folder);
    Utils::LogMessage("lost");
    fs::create_directories(folder);
    Utils::LogMessage("again");
    EXPECT_EQ(WithoutStamps(ReadFile(file)), "@Message: again\n"); // "kept" went with the folder
}

// One UTC-stamped line per message; wide messages follow the process's
// locale and are cut at 1023 bytes.
TEST_F(DiagnosticLogTest, AppendsOneUtcStampedLinePerMessage) {
    fs::create_directories(folder);
    const std::time_t before = std::time(nullptr);
    Utils::LogMessage("first", -1);
    Utils::LogMessage("two\nlines");
    const std::string saved = std::setlocale(LC_CTYPE, nullptr);
    const fn::fn_wstring accented = Utils::utf8towstring("caf\xC3\xA9 ok");
    std::setlocale(LC_CTYPE, "C");
    Utils::LogMessage(accented); // not convertible here: what came before stays
    std::setlocale(LC_CTYPE, "C.UTF-8");
    Utils::LogMessage(accented, 2147483647);
    Utils::LogMessage(fn::fn_wstring(3000, L'w'));
    Utils::LogMessage(fn::fn_wstring(L"up to\0the zero", 14));
    std::setlocale(LC_CTYPE, saved.c_str());
    const std::string text = ReadFile(file);
    std::tm parsed{};
    const char* end = strptime(text.c_str(), "%a %b %d %H:%M:%S %Y", &parsed);
    ASSERT_TRUE(end != nullptr && *end == ' ') << text;
    EXPECT_GE(timegm(&parsed), before); // UTC, not local time
    EXPECT_LE(timegm(&parsed), std::time(nullptr));
    EXPECT_EQ(WithoutStamps(text), "@Message: first ErrorCode: -1\n@Message: two\nlines\n"
                                   "@Message: caf\n@Message: caf\xC3\xA9 ok ErrorCode: 2147483647\n"
                                   "@Message: " +
                                       std::string(1023, 'w') + "\n@Message: up to\n");
}

TEST_F(DiagnosticLogTest, NeverWritesThroughAPlantedLink) {
    fs::create_directories(folder);
    const std::string target = scratch.Write("target", "precious");
    fs::create_symlink(target, file);
    Utils::LogMessage("intruder");
    EXPECT_EQ(ReadFile(target), "precious");
}

} // namespace
