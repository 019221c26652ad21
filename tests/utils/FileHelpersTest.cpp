#include "utils/FileHelpers.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/ScratchDir.h"
#include "utils/DiagnosticLog.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ScopedEnv;
using testsupport::ScratchDir;

std::string Cwd() {
    return fs::current_path().string();
}

TEST(PathSplitting, SplitsAtTheLastSlash) {
    struct Case {
        std::string path, file, dir;
    };
    const Case cases[] = {{"name", "name", ""}, {"dir/", "", "dir"}, {"/a/b", "b", "/a"},
                          {"/x", "x", ""},      {"/", "", ""},       {"", "", ""},
                          {"a//b", "b", "a/"}};
    for (const Case& c : cases) {
        EXPECT_EQ(Utils::GetFilenameFromPath(c.path), c.file) << c.path;
        EXPECT_EQ(Utils::GetDirFromPath(c.path), c.dir) << c.path;
    }
}

TEST(FolderHelpers, MakeTestAndRemoveFolders) {
    ScratchDir scratch;
    const std::string dir = scratch / "d";
    const mode_t savedMask = umask(0);
    EXPECT_TRUE(Utils::CreateDir(dir, true));
    umask(savedMask);
    EXPECT_EQ(fs::status(dir).permissions(), fs::perms(0755));
    EXPECT_FALSE(Utils::CreateDir(dir, true)); // exists: the flag makes it fail
    EXPECT_TRUE(Utils::CreateDir(dir, false));
    EXPECT_FALSE(Utils::CreateDir(scratch / "missing/child", false));

    scratch.Write("d/file", "x");
    EXPECT_FALSE(Utils::DeleteDir(dir, true)); // contents are never removed, whatever the flag
    EXPECT_TRUE(Utils::DoDeleteFile(scratch / "d/file"));
    EXPECT_FALSE(Utils::DoDeleteFile(scratch / "d/file"));
    EXPECT_TRUE(Utils::DeleteDir(dir, false));

    fs::create_directory(scratch / "a");
    EXPECT_TRUE(Utils::CreateDirPath(scratch / "a/b/c/", false));
    EXPECT_TRUE(fs::is_directory(scratch / "a/b/c"));
    EXPECT_TRUE(Utils::CreateDirPath(scratch / "a/b/c", false));
    EXPECT_FALSE(Utils::CreateDirPath(scratch / "a/b/c", true));
    scratch.Write("file", "");
    EXPECT_FALSE(Utils::CreateDirPath(scratch / "file/sub", false));
    EXPECT_FALSE(Utils::CreateDirPath(std::string(5000, 'a'), false));
}

TEST(FolderHelpers, DirExistsStaysInTheFolderItFound) {
    ScratchDir scratch;
    fs::create_directories(scratch / "base/inside");
    scratch.Write("plain", "");
    const std::string before = Cwd();
    EXPECT_FALSE(Utils::DirExists(scratch / "missing"));
    EXPECT_FALSE(Utils::DirExists(scratch / "plain"));
    EXPECT_EQ(Cwd(), before);
    EXPECT_TRUE(Utils::DirExists(scratch / "base"));
    EXPECT_EQ(Cwd(), fs::canonical(scratch / "base").string());
    EXPECT_TRUE(Utils::DirExists("inside")); // relative paths now resolve there

    // So testing the parent "inside/" of a relative path moves into it, and
    // the final mkdir of "inside/new" looks for inside/inside.
    ASSERT_TRUE(SetCurrentDir(scratch / "base"));
    EXPECT_FALSE(Utils::CreateDirPath("inside/new", false));
    EXPECT_FALSE(fs::exists(scratch / "base/inside/new"));
    EXPECT_TRUE(Utils::CreateDirPath("child", false)); // no parent to test: made where we are
    EXPECT_TRUE(fs::is_directory(scratch / "base/inside/child"));
}

TEST(FileHelpers, SizeDateExistenceAndTheInertHelpers) {
    ScratchDir scratch;
    const std::string file = scratch.Write("f", "12345");
    EXPECT_EQ(Utils::GetFileLength(file), 5);
    EXPECT_EQ(Utils::GetFileLength(scratch.Write("e", "")), 0);
    EXPECT_EQ(Utils::GetFileLength(scratch / "missing"), 0);
    EXPECT_TRUE(Utils::FileExists(file));
    EXPECT_FALSE(Utils::FileExists(scratch / "missing"));
    struct stat info;
    ASSERT_EQ(stat(file.c_str(), &info), 0);
    EXPECT_EQ(Utils::GetFileCreationDate(file), info.st_ctime);
    EXPECT_EQ(Utils::GetFileCreationDate(scratch / "missing"), 0);
    usleep(1200 * 1000); // past the next second of the file system's coarse clock
    chmod(file.c_str(), 0600); // a status change moves it: ctime, not birth time
    EXPECT_GT(Utils::GetFileCreationDate(file), info.st_ctime);

    EXPECT_TRUE(Utils::ListDirectory(scratch.path()).empty());
    char checksum[33] = "untouched";
    EXPECT_FALSE(Utils::GetFileMD5Checksum(file, checksum));
    EXPECT_STREQ(checksum, "untouched");
    EXPECT_EQ(Utils::GetHomeDirName(), "");
    std::string folder = "kept";
    EXPECT_TRUE(GetCurrentDir(folder));
    EXPECT_EQ(folder, "kept");
    EXPECT_FALSE(SetCurrentDir(scratch / "missing"));
}

// Refused: a link, a folder others may write, and a private folder that
// another user (here "nobody", which needs the tests' root) made in advance.
TEST(TemporaryFolder, IsPrivateAndRefusesFoldersOthersControl) {
    ScratchDir scratch;
    {
        ScopedEnv tmp("TMPDIR", scratch.path() + "/");
        const mode_t savedMask = umask(022); // the users' usual mask: 0755 would show
        EXPECT_EQ(Utils::GetTempDirName(), scratch / "TemporaryItems");
        umask(savedMask);
        EXPECT_EQ(fs::status(scratch / "TemporaryItems").permissions(), fs::perms::owner_all);
    }
    fs::create_directories(scratch / "linked");
    fs::create_directory_symlink(scratch.path(), scratch / "linked/TemporaryItems");
    fs::create_directories(scratch / "open/TemporaryItems");
    chmod((scratch / "open/TemporaryItems").c_str(), 0777);
    fs::create_directories(scratch / "owned/TemporaryItems");
    chmod((scratch / "owned/TemporaryItems").c_str(), 0700);
    ASSERT_EQ(chown((scratch / "owned/TemporaryItems").c_str(), 65534, 65534), 0);
    for (const char* base : {"linked", "open", "owned"}) {
        ScopedEnv tmp("TMPDIR", scratch / base);
        EXPECT_EQ(Utils::GetTempDirName(), "") << base;
        EXPECT_EQ(Utils::GetLogFilename(),
                  "/quorvel-logs/log.txt"); // so the log starts at the root
    }
    ScopedEnv tmp("TMPDIR", "relative"); // ignored: the per-user default applies
    EXPECT_EQ(Utils::GetTempDirName(),
              "/tmp/quorvel-" + std::to_string(getuid()) + "/TemporaryItems");
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
    scratch.Write("cfg/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + scratch / "abs" + "\"\n");
    ScopedEnv otherConfig("XDG_CONFIG_HOME", scratch / "cfg");
    EXPECT_EQ(Utils::GetUserDocumentsDirName(), scratch / "abs");
    ScopedEnv blockedHome("HOME", scratch.Write("blocked", ""));
    ScopedEnv noConfig("XDG_CONFIG_HOME", std::nullopt);
    EXPECT_EQ(Utils::GetUserDocumentsDirName(), ""); // cannot be made under a file
}

} // namespace
