#include "utils/DiagnosticLog.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "tests/support/ScratchDir.h"
#include "utils/Conversions.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ReadFile;
using testsupport::ScopedEnv;
using testsupport::ScratchDir;

class DiagnosticLogTest : public ::testing::Test {
protected:
    ScratchDir scratch;
    ScopedEnv tmp{"TMPDIR", scratch.path()};
    std::string folder = scratch / "TemporaryItems/quorvel-logs";
    std::string file = folder + "/log.txt";

    void SwitchOn() { fs::create_directories(folder); }
};

TEST_F(DiagnosticLogTest, IsSilentAndMakesNothingWhileTheFolderIsMissing) {
    EXPECT_EQ(Utils::GetLogFilename(), file);
    EXPECT_FALSE(Utils::IsLoggingOn());
    Utils::LogMessage("narrow", 3);
    Utils::LogMessage(std::string("narrow"));
    Utils::LogMessage(fn::fn_wstring(L"wide"), 3);
    Utils::LogMessage(fn::fn_wstring(L"wide"));
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_TRUE(fs::is_directory(scratch / "TemporaryItems")); // the temporary folder is made
}

TEST_F(DiagnosticLogTest, AppendsOneStampedLinePerMessage) {
    SwitchOn();
    EXPECT_TRUE(Utils::IsLoggingOn());
    EXPECT_EQ(fs::current_path(), fs::path(folder)); // as every successful DirExists
    const std::time_t before = std::time(nullptr);
    Utils::LogMessage("first", -1);
    Utils::LogMessage(std::string("second"));
    Utils::LogMessage(fn::fn_wstring(L"third"), 2147483647);
    Utils::LogMessage(fn::fn_wstring(L"fourth"));
    Utils::LogMessage("two\nlines");

    // Each line: a 24-character asctime stamp in UTC, two blanks, the text.
    const char* bodies[] = {"Message: first ErrorCode: -1\n", "Message: second\n",
                            "Message: third ErrorCode: 2147483647\n", "Message: fourth\n",
                            "Message: two\nlines\n"};
    const std::string text = ReadFile(file);
    std::size_t at = 0;
    std::time_t written = 0;
    for (const char* body : bodies) {
        ASSERT_LE(at + 26, text.size()) << text;
        std::tm parsed{};
        const std::string stamp = text.substr(at, 24);
        const char* end = strptime(stamp.c_str(), "%a %b %d %H:%M:%S %Y", &parsed);
        ASSERT_TRUE(end != nullptr && *end == '\0') << stamp;
        written = timegm(&parsed);
        ASSERT_EQ(text.compare(at + 24, 2, "  "), 0) << text;
        ASSERT_EQ(text.compare(at + 26, std::strlen(body), body), 0) << text;
        at += 26 + std::strlen(body);
    }
    EXPECT_EQ(at, text.size());
    EXPECT_GE(written, before);
    EXPECT_LE(written, std::time(nullptr));
}

TEST_F(DiagnosticLogTest, CanBeSwitchedOffWhileRunning) {
    SwitchOn();
    Utils::LogMessage("kept");
    fs::remove_all(folder);
    Utils::LogMessage("lost");
    EXPECT_FALSE(fs::exists(folder));
    SwitchOn();
    Utils::LogMessage("again");
    EXPECT_NE(ReadFile(file).find("Message: again\n"), std::string::npos);
    EXPECT_EQ(ReadFile(file).find("lost"), std::string::npos);
}

TEST_F(DiagnosticLogTest, WideMessagesFollowTheLocaleAndAreCut) {
    SwitchOn();
    const std::string saved = std::setlocale(LC_CTYPE, nullptr);
    const fn::fn_wstring accented = Utils::utf8towstring("caf\xC3\xA9 ok");

    std::setlocale(LC_CTYPE, "C");
    Utils::LogMessage(accented); // not convertible here: what came before stays
    std::setlocale(LC_CTYPE, "C.UTF-8");
    Utils::LogMessage(accented, 7);
    Utils::LogMessage(fn::fn_wstring(3000, L'w'));
    Utils::LogMessage(fn::fn_wstring(L"up to\0the zero", 14));
    std::setlocale(LC_CTYPE, saved.c_str());

    const std::string text = ReadFile(file);
    EXPECT_NE(text.find("  Message: caf\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  Message: caf\xC3\xA9 ok ErrorCode: 7\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  Message: " + std::string(1023, 'w') + "\n"), std::string::npos);
    EXPECT_NE(text.find("  Message: up to\n"), std::string::npos);
}

TEST_F(DiagnosticLogTest, NeverWritesThroughAPlantedLink) {
    SwitchOn();
    const std::string target = scratch.Write("target", "precious");
    fs::create_symlink(target, file);
    Utils::LogMessage("intruder");
    EXPECT_EQ(ReadFile(target), "precious");
}

TEST(DiagnosticLogPath, StartsAtRootWithoutATemporaryFolder) {
    ScratchDir scratch;
    fs::create_directory(scratch / "elsewhere");
    fs::create_directory_symlink(scratch / "elsewhere", scratch / "TemporaryItems");
    ScopedEnv tmp("TMPDIR", scratch.path());
    EXPECT_EQ(Utils::GetLogFilename(), "/quorvel-logs/log.txt");
}

} // namespace
