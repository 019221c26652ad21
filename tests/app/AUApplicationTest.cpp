#include "app/AUApplication.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <regex>
#include <sstream>

namespace {

// Outside a bundle the executable's folder is the bundle, so relative paths
// start at that folder's parent.
TEST(AUApplication, FullPathsAreStandardisedAndRelativeToTheBundlesFolder) {
    const std::string folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const std::string base = folder.substr(0, folder.find_last_of('/'));
    struct Case {
        std::string path, full;
    };
    const Case cases[] = {
        {"/a/./b", "/a/b"},
        {"/a/b/../c/", "/a/c"},
        {"sub/../file", base + "/file"},
        {"file", base + "/file"},
        {"", base},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(AUApplication::fullpathOfString(&c.path), c.full) << c.path;
    }
    EXPECT_EQ(AUApplication::fullpathOfString(nullptr), std::nullopt);
}

TEST(AUApplication, MissingStringsAreRetriedAndKeysStandForThemselves) {
    ::unlink(kSharedInstallerPlist);
    testing::internal::CaptureStderr();
    EXPECT_EQ(AUApplication::localizedStrings(), nullptr); // this folder has no strings
    EXPECT_EQ(AUApplication::localizedStrings(), nullptr);
    const std::string key = "IDS_UI_BUTTON_OK";
    EXPECT_EQ(AUApplication::localizedString(&key), key);
    EXPECT_EQ(AUApplication::localizedString(nullptr), "");
    std::istringstream log(testing::internal::GetCapturedStderr());
    const std::regex logged(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} app_AUApplication_test\[)" +
                            std::to_string(getpid()) + R"(\] \[i\] language:\[\(null\)\])");
    std::size_t lines = 0;
    for (std::string line; std::getline(log, line);) {
        lines += std::regex_match(line, logged);
    }
    EXPECT_EQ(lines, 3u); // once per call while nothing can be loaded, each in the log's format
}

} // namespace
