#include "utils/FileHelpers.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/ScratchDir.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ScopedEnv;
using testsupport::ScratchDir;

std::string Cwd() {
    return fs::current_path().string();
}

TEST(PathSplitting, SplitsAtTheLastSlash) {
    struct Case {
        std::string path;
        std::string file;
        std::string dir;
    };
    const Case cases[] = {
        {"name", "name", ""}, {"dir/", "", "dir"},
        {"/a/b", "b", "/a"},  {"/x", "x", ""},
        {"/", "", ""},        {"", "", ""},
        {"a//b", "b", "a/"},  {"a/b/c.txt", "c.txt", "a/b"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::GetFilenameFromPath(c.path), c.file) << c.path;
        EXPECT_EQ(Utils::GetDirFromPath(c.path), c.dir) << c.path;
    }
}

TEST(FolderHelpers, CreateDirAndDeleteDirFollowTheirFlags) {
    ScratchDir scratch;
    const mode_t savedMask = umask(0);
    const std::string dir = scratch / "d";
    EXPECT_TRUE(Utils::CreateDir(dir, true));
    umask(savedMask);
    EXPECT_EQ(fs::status(dir).permissions(), fs::perms(0755));
    EXPECT_FALSE(Utils::CreateDir(dir, true)); // exists: the flag makes it fail
    EXPECT_TRUE(Utils::CreateDir(dir, false));
    EXPECT_FALSE(Utils::CreateDir(scratch / "missing/child", false));

    scratch.Write("d/file", "x");
    EXPECT_FALSE(Utils::DeleteDir(dir, true)); // contents are never removed
    EXPECT_FALSE(Utils::DeleteDir(dir, false));
    EXPECT_TRUE(fs::exists(scratch / "d/file"));
    EXPECT_TRUE(Utils::DoDeleteFile(scratch / "d/file"));
    EXPECT_FALSE(Utils::DoDeleteFile(scratch / "d/file"));
    EXPECT_TRUE(Utils::DeleteDir(dir, false));
    EXPECT_FALSE(fs::exists(dir));
}

TEST(FolderHelpers, DirExistsStaysInTheTestedFolder) {
    ScratchDir scratch;
    fs::create_directory(scratch / "inside");
    const std::string before = Cwd();
    EXPECT_FALSE(Utils::DirExists(scratch / "missing"));
    EXPECT_EQ(Cwd(), before);
    scratch.Write("plain", "");
    EXPECT_FALSE(Utils::DirExists(scratch / "plain"));
    EXPECT_TRUE(Utils::DirExists(scratch / "inside"));
    EXPECT_EQ(Cwd(), fs::canonical(scratch / "inside").string());
    // So a relative path now resolves inside the tested folder.
    EXPECT_TRUE(Utils::DirExists("."));
    EXPECT_TRUE(Utils::FileExists("../plain"));
}

TEST(FolderHelpers, CreateDirPathMakesMissingParents) {
    ScratchDir scratch;
    fs::create_directory(scratch / "a");
    EXPECT_TRUE(Utils::CreateDirPath(scratch / "a/b/c/", false));
    EXPECT_TRUE(fs::is_directory(scratch / "a/b"));
    EXPECT_TRUE(fs::is_directory(scratch / "a/b/c"));
    EXPECT_TRUE(Utils::CreateDirPath(scratch / "a/b/c", false));
    EXPECT_FALSE(Utils::CreateDirPath(scratch / "a/b/c", true));
    EXPECT_TRUE(Utils::CreateDirPath(scratch / "x", true));

    // A file in the way stops it.
    scratch.Write("file", "");
    EXPECT_FALSE(Utils::CreateDirPath(scratch / "file/sub", false));
    EXPECT_FALSE(Utils::CreateDirPath(std::string(5000, 'a'), false));
}

TEST(FolderHelpers, RelativeCreateDirPathResolvesAgainstTheLastTestedFolder) {
    ScratchDir scratch;
    fs::create_directory(scratch / "base");
    ASSERT_TRUE(SetCurrentDir(scratch.path()));
    // Testing the parent "base/" moves into it, so the final mkdir of
    // "base/new" looks for base/base and fails.
    EXPECT_FALSE(Utils::CreateDirPath("base/new", false));
    EXPECT_FALSE(fs::exists(scratch / "base/new"));
    EXPECT_EQ(Cwd(), fs::canonical(scratch / "base").string());
    // A single relative name has no parent to test and is made where we are.
    EXPECT_TRUE(Utils::CreateDirPath("child", false));
    EXPECT_TRUE(fs::is_directory(scratch / "base/child"));
}

TEST(FileHelpers, SizeDateAndExistence) {
    ScratchDir scratch;
    const std::string file = scratch.Write("f", "12345");
    const std::string empty = scratch.Write("e", "");
    EXPECT_EQ(Utils::GetFileLength(file), 5);
    EXPECT_EQ(Utils::GetFileLength(empty), 0);
    EXPECT_EQ(Utils::GetFileLength(scratch / "missing"), 0);
    EXPECT_TRUE(Utils::FileExists(file));
    EXPECT_FALSE(Utils::FileExists(scratch / "missing"));

    struct stat info;
    ASSERT_EQ(stat(file.c_str(), &info), 0);
    EXPECT_EQ(Utils::GetFileCreationDate(file), info.st_ctime);
    EXPECT_EQ(Utils::GetFileCreationDate(scratch / "missing"), 0);
    // A change of the file's status moves the date: it is ctime, not birth.
    sleep(1);
    chmod(file.c_str(), 0600);
    EXPECT_GT(Utils::GetFileCreationDate(file), info.st_ctime);
}

TEST(FileHelpers, InertHelpersKeepTheirFixedAnswers) {
    ScratchDir scratch;
    scratch.Write("f", "abc");
    EXPECT_TRUE(Utils::ListDirectory(scratch.path()).empty());
    char checksum[33] = "untouched";
    EXPECT_FALSE(Utils::GetFileMD5Checksum(scratch / "f", checksum));
    EXPECT_STREQ(checksum, "untouched");
    EXPECT_EQ(Utils::GetHomeDirName(), "");
    std::string folder = "kept";
    EXPECT_TRUE(GetCurrentDir(folder));
    EXPECT_EQ(folder, "kept");
    EXPECT_TRUE(SetCurrentDir(scratch.path()));
    EXPECT_EQ(Cwd(), fs::canonical(scratch.path()).string());
    EXPECT_FALSE(SetCurrentDir(scratch / "missing"));
}

TEST(TemporaryFolder, IsPrivateAndRefusesForeignFolders) {
    ScratchDir scratch;
    {
        ScopedEnv tmp("TMPDIR", scratch.path() + "/");
        EXPECT_EQ(Utils::GetTempDirName(), scratch / "TemporaryItems");
        struct stat info;
        ASSERT_EQ(lstat((scratch / "TemporaryItems").c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777, 0700u);
    }
    {
        // Made by someone else: a link, or a folder others may write to.
        fs::create_directory(scratch / "elsewhere");
        fs::create_directories(scratch / "linked");
        fs::create_directory_symlink(scratch / "elsewhere", scratch / "linked/TemporaryItems");
        ScopedEnv tmp("TMPDIR", scratch / "linked");
        EXPECT_EQ(Utils::GetTempDirName(), "");
    }
    {
        fs::create_directories(scratch / "open/TemporaryItems");
        chmod((scratch / "open/TemporaryItems").c_str(), 0777);
        ScopedEnv tmp("TMPDIR", scratch / "open");
        EXPECT_EQ(Utils::GetTempDirName(), "");
    }
    {
        // A relative TMPDIR is ignored for the per-user default.
        ScopedEnv tmp("TMPDIR", "relative");
        EXPECT_EQ(Utils::GetTempDirName(),
                  "/tmp/quorvel-" + std::to_string(getuid()) + "/TemporaryItems");
    }
}

TEST(DocumentsFolder, ComesFromUserDirsElseHome) {
    ScratchDir scratch;
    ScopedEnv home("HOME", scratch / "home");
    ScopedEnv config("XDG_CONFIG_HOME", std::nullopt);
    EXPECT_EQ(Utils::GetUserDocumentsDirName(), scratch / "home/Documents");
    EXPECT_TRUE(fs::is_directory(scratch / "home/Documents"));

    scratch.Write("home/.config/user-dirs.dirs",
                  "# comment\nXDG_DOCUMENTS_DIR=\"$HOME/Papers/\"\n");
    EXPECT_EQ(Utils::GetUserDocumentsDirName(), scratch / "home/Papers");
    EXPECT_TRUE(fs::is_directory(scratch / "home/Papers"));

    scratch.Write("cfg/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + scratch / "abs" + "\"\n");
    ScopedEnv otherConfig("XDG_CONFIG_HOME", scratch / "cfg");
    EXPECT_EQ(Utils::GetUserDocumentsDirName(), scratch / "abs");

    scratch.Write("blocked", "");
    ScopedEnv blockedHome("HOME", scratch / "blocked");
    ScopedEnv noConfig("XDG_CONFIG_HOME", std::nullopt);
    EXPECT_EQ(Utils::GetUserDocumentsDirName(), ""); // cannot be made under a file
}

} // namespace
