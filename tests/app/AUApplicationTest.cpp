#include "app/AUApplication.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>

namespace {

std::string TestFolder() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    const std::string exe(path, static_cast<std::size_t>(length));
    return exe.substr(0, exe.find_last_of('/'));
}

// Outside a bundle the executable's folder is the bundle, so relative paths
// start at that folder's parent.
TEST(AUApplication, FullPathsAreStandardisedAndRelativeToTheBundlesFolder) {
    const std::string folder = TestFolder();
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
    const std::string log = testing::internal::GetCapturedStderr();
    std::size_t lines = 0;
    for (std::size_t at = 0; (at = log.find("[i] language:[(null)]", at)) != std::string::npos;
         ++at) {
        ++lines;
    }
    EXPECT_EQ(lines, 3u); // once per call while nothing can be loaded
}

} // namespace
