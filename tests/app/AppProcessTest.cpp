// The real app, started as a child process on a bundle made for each test:
// without a display, on a pseudo-terminal, under debconf's own frontend.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>

#include "tests/support/ScratchDir.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ScratchDir;

constexpr const char* kSharedPlist = "/tmp/com.quorvel.installer.plist";
constexpr const char* kConsent = "OperationType = 7; ConsentMessage = IDS_UI_CONSENT_MESSAGE;";

// How one run is started.
struct Launch {
    std::optional<std::string> answer; // typed on a terminal; none: no terminal at all
    std::string prompt = "> ";         // typed once this has been shown
    std::map<std::string, std::string> env = {};
    std::function<void()> whenAsked = {}; // runs when the prompt shows, before typing
};

struct Outcome {
    int status = -1;    // -1: killed by a signal, or hung and killed
    std::string output; // stderr, or everything the terminal showed
};

class AppProcess : public ::testing::Test {
protected:
    void SetUp() override {
        marker = "/tmp/quorvel-test-marker-" + std::to_string(getpid());
        fs::remove(marker);
        fs::remove(kSharedPlist);
        fs::create_directories(scratch / "Test.app/Contents/MacOS");
        fs::create_directories(scratch / "Test.app/Contents/PlugIns");
        fs::copy_file(QUORVEL_APP_EXE, app);
        fs::create_symlink(QUORVEL_APP_PLUGIN,
                           scratch / "Test.app/Contents/PlugIns/libquorvel_panel.so");
        fs::copy(QUORVEL_APP_RESOURCES, scratch / "Test.app/Contents/Resources",
                 fs::copy_options::recursive);
        fs::remove(scratch / "Test.app/Contents/Resources/Preferences");
    }
    void TearDown() override {
        fs::remove(marker);
        fs::remove(kSharedPlist);
    }

    // Preferences in the old-style text format, with our marker name.
    void SetPreferences(const std::string& entries) {
        scratch.Write("Test.app/Contents/Resources/Preferences",
                      "{ InstallationFileName = \"" + marker.substr(5) + "\"; " + entries + " }");
    }

    void SetInstallerLanguage(const std::optional<std::string>& lproj) {
        fs::remove(kSharedPlist);
        if (lproj) {
            std::ofstream(kSharedPlist) << "{ InstallerLproj = \"" << *lproj << "\"; }";
        }
    }

    // Runs `exe` (the app by default) without a display or a package
    // manager, apart from what `run.env` sets.
    Outcome Start(const Launch& run = {}, const std::vector<std::string>& command = {}) {
        int output = -1;
        const pid_t pid = run.answer ? forkpty(&output, nullptr, nullptr, nullptr) : Spawn(&output);
        if (pid == 0) {
            for (const char* name :
                 {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "LANGUAGE", "DEBIAN_FRONTEND",
                  "DEBIAN_HAS_FRONTEND", "DEBCONF_REDIR", "DPKG_MAINTSCRIPT_PACKAGE"}) {
                unsetenv(name);
            }
            setenv("LANG", "C", 1);
            for (const auto& [name, value] : run.env) {
                setenv(name.c_str(), value.c_str(), 1);
            }
            std::vector<std::string> words = command.empty() ? std::vector{app} : command;
            std::vector<char*> argv;
            for (std::string& word : words) {
                argv.push_back(word.data());
            }
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
        Outcome outcome;
        bool typed = !run.answer;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        char buffer[4096];
        pollfd wait{output, POLLIN, 0};
        while (std::chrono::steady_clock::now() < deadline && poll(&wait, 1, 100) >= 0) {
            if (!typed && outcome.output.find(run.prompt) != std::string::npos) {
                if (run.whenAsked) {
                    run.whenAsked();
                }
                (void)!write(output, run.answer->data(), run.answer->size());
                typed = true;
            }
            if ((wait.revents & (POLLIN | POLLHUP)) == 0) {
                continue;
            }
            const ssize_t got = read(output, buffer, sizeof buffer);
            if (got <= 0) {
                break;
            }
            outcome.output.append(buffer, static_cast<std::size_t>(got));
        }
        close(output);
        int status = 0;
        if (waitpid(pid, &status, WNOHANG) == 0) { // still there: it hangs
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
        }
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return outcome;
    }

    bool MarkerIsEmptyFile() const {
        return fs::is_regular_file(fs::symlink_status(marker)) && fs::file_size(marker) == 0;
    }

    ScratchDir scratch;
    std::string marker;
    std::string app = scratch / "Test.app/Contents/MacOS/QuorvelInstaller";

private:
    static pid_t Spawn(int* output) {
        int pipeFds[2];
        if (pipe(pipeFds) != 0) {
            return -1;
        }
        const pid_t pid = fork();
        if (pid == 0) {
            setsid(); // no controlling terminal
            dup2(pipeFds[1], 2);
            close(pipeFds[0]);
            freopen("/dev/null", "r", stdin);
            return 0;
        }
        close(pipeFds[1]);
        *output = pipeFds[0];
        return pid;
    }
};

TEST_F(AppProcess, CarriesOutEachOperation) {
    struct Case {
        std::string preferences;
        bool staleMarker;
        const char* line;
        bool markerAfter;
    };
    const Case cases[] = {
        {"OperationType = 7;", false, "[i] the 7 end with status 0.\n", true},
        {"OperationType = 7;", true, "[i] the 7 end with status 0.\n", true}, // rewritten empty
        {"OperationType = 8;", true, "[i] the 8 end with status 0.\n", true}, // left as it was
        {"OperationType = 8;", false, "[i] the 8 end with status 0.\n", false},
        {"OperationType = 9;", false, "[i] operation is none.\n", false},
        {"OperationType = 0;", true, "[i] operation is none.\n", true},
        {"", false, "[i] operation is none.\n", false},
    };
    for (const Case& c : cases) {
        fs::remove(marker);
        if (c.staleMarker) {
            std::ofstream(marker) << "stale";
        }
        SetPreferences(c.preferences);
        const Outcome run = Start();
        EXPECT_EQ(run.status, 0) << c.preferences;
        EXPECT_NE(run.output.find(c.line), std::string::npos) << c.preferences << "\n"
                                                              << run.output;
        EXPECT_EQ(fs::exists(marker), c.markerAfter) << c.preferences;
        if (c.markerAfter && std::string(c.line).find(" 7 ") != std::string::npos) {
            EXPECT_TRUE(MarkerIsEmptyFile());
        }
    }
}

TEST_F(AppProcess, MissingOrBrokenPreferencesEndSilentlyWithSuccess) {
    for (const char* content :
         {"", "{ OperationType = 7; ", "\xFF\xFE\x00", "<?xml version=\"1.0\"?><plist>"}) {
        scratch.Write("Test.app/Contents/Resources/Preferences", content);
        const Outcome run = Start();
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.output, "") << content;
    }
    fs::remove(scratch / "Test.app/Contents/Resources/Preferences");
    EXPECT_EQ(Start().status, 0);
    EXPECT_FALSE(fs::exists(marker));
}

// Anyone can plant things in /tmp: a link or a FIFO at the marker path is
// stale and replaced (never followed), a folder makes the write fail.
TEST_F(AppProcess, WhatIsPlantedAtTheMarkerPathNeitherBlocksNorRedirects) {
    scratch.Write("Test.app/Contents/Resources/Preferences", "{ OperationType = 7; }");
    Outcome run = Start(); // no InstallationFileName: nothing to write
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.output.find("[i] the 7 end with status 0."), std::string::npos);
    EXPECT_EQ(run.output.find("<!>"), std::string::npos);

    SetPreferences("OperationType = 7;");
    const std::string target = scratch / "planted-target";
    const std::function<void()> plants[] = {
        [&] { fs::create_symlink(target, marker); },
        [&] { fs::create_symlink(scratch.path(), marker); }, // a link to a folder
        [&] { mkfifo(marker.c_str(), 0666); },
    };
    for (const auto& plant : plants) {
        fs::remove(marker);
        plant();
        run = Start();
        EXPECT_EQ(run.status, 0);
        EXPECT_TRUE(MarkerIsEmptyFile()) << run.output;
        EXPECT_FALSE(fs::exists(target));
    }
    fs::remove(marker);
    fs::create_directory(marker);
    run = Start();
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.output.find("<!> failed to create installation file."), std::string::npos);
    fs::remove(marker);
}

// Without anybody to ask the question is declined: never a crash, however
// the display is broken, and never a question on the terminal when the
// environment says that nobody may be asked.
TEST_F(AppProcess, NobodyToAskDeclines) {
    SetPreferences(kConsent);
    const std::string deadWayland = scratch / "wayland-0";
    const std::map<std::string, std::string> deadDisplays = {{"DISPLAY", ":1021"},
                                                             {"WAYLAND_DISPLAY", deadWayland}};
    const Launch cases[] = {
        {},
        {std::nullopt, "", deadDisplays},
        {std::nullopt, "", {{"DISPLAY", ":1021"}}},
        {std::string("\n"), "", {{"DEBIAN_FRONTEND", "noninteractive"}, {"DISPLAY", ":1021"}}},
    };
    for (const Launch& c : cases) {
        const Outcome run = Start(c);
        EXPECT_EQ(run.status, 1) << run.output;
        EXPECT_FALSE(fs::exists(marker));
        EXPECT_EQ(run.output.find("Do you want to continue?"), std::string::npos);
        EXPECT_NE(run.output.find("[i] language:[(null)]"), std::string::npos);
    }
    // A display that cannot be opened leaves the terminal to ask on.
    const Outcome run = Start({std::string("\n"), "> ", deadDisplays});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output.find("no display could be opened"), std::string::npos);
    EXPECT_TRUE(MarkerIsEmptyFile());
}

// The question in the installer's language, answered on the terminal.
TEST_F(AppProcess, ConsentIsAskedInTheInstallersLanguage) {
    struct Case {
        std::optional<std::string> lproj;
        const char* ok;
        const char* cancel;
        const char* message;
    };
    const Case cases[] = {
        {"de", "Fortfahren", "Abbrechen", "Quorvel wird jetzt auf diesem Computer installiert."},
        {"fr", "Continuer", "Annuler", "Voulez-vous continuer\u00a0?"},
        {"ja", "続ける", "キャンセル", "このコンピュータに Quorvel をインストールします。"},
        {"en", "Continue", "Cancel", "Quorvel is about to be installed on this computer."},
        {"xx", "Continue", "Cancel",
         "Quorvel is about to be installed"}, // no such lproj: the bundle's own
        {std::nullopt, "Continue", "Cancel", "Quorvel is about to be installed"},
    };
    SetPreferences(kConsent);
    for (const Case& c : cases) {
        SetInstallerLanguage(c.lproj);
        fs::remove(marker);
        Outcome run = Start({std::string("2\n")});
        EXPECT_EQ(run.status, 1) << run.output;
        EXPECT_FALSE(fs::exists(marker));
        for (const char* text : {c.ok, c.cancel, c.message}) {
            EXPECT_NE(run.output.find(text), std::string::npos) << text << "\n" << run.output;
        }
        EXPECT_NE(run.output.find("[i] language:[" + c.lproj.value_or("(null)") + "]"),
                  std::string::npos);
        run = Start({std::string("\n")}); // Enter takes the default button
        EXPECT_EQ(run.status, 0) << run.output;
        EXPECT_TRUE(MarkerIsEmptyFile());
    }
}

// The answer is the whole line: a long one is never read in pieces.
TEST_F(AppProcess, TheAnswerIsTheWholeLine) {
    SetPreferences(kConsent);
    const struct {
        std::string typed;
        int status;
    } cases[] = {
        {std::string(63, ' ') + "2\n", 1},
        {std::string(3000, 'x') + "\n2\n", 1}, // not an answer: asked again
        {" 1 \n", 0},
    };
    for (const auto& c : cases) {
        fs::remove(marker);
        const Outcome run = Start({c.typed});
        EXPECT_EQ(run.status, c.status) << run.output.substr(0, 400);
        EXPECT_EQ(fs::exists(marker), c.status == 0);
    }
}

// The shared property list is anyone's to plant: what is not a small
// regular file is not read, and nothing in it can hang or crash the app.
TEST_F(AppProcess, HostileSharedPropertyListsAreIgnored) {
    SetPreferences(kConsent);
    std::string deep = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>k</key>";
    for (int i = 0; i < 100000; ++i) {
        deep += "<array>";
    }
    const std::function<void()> plants[] = {
        [] { mkfifo(kSharedPlist, 0666); },
        [&] { std::ofstream(kSharedPlist) << deep; },
        [] {
            std::ofstream(kSharedPlist)
                << "{ InstallerLproj = de; x = \"" << std::string(1 << 20, 'x') << "\"; }";
        },
        [&] {
            std::ofstream(scratch / "lproj") << "{ InstallerLproj = de; }";
            fs::create_symlink(scratch / "lproj", kSharedPlist);
        },
    };
    for (const auto& plant : plants) {
        fs::remove(kSharedPlist);
        plant();
        const Outcome run = Start();
        EXPECT_EQ(run.status, 1) << run.output;
        EXPECT_NE(run.output.find("[i] language:[(null)]"), std::string::npos) << run.output;
    }
}

// A FIFO planted at the marker path while the question waits.
TEST_F(AppProcess, AFifoPlantedWhileTheQuestionWaitsIsReplaced) {
    SetPreferences(kConsent);
    Launch consent{std::string("\n")};
    consent.whenAsked = [this] { ASSERT_EQ(mkfifo(marker.c_str(), 0666), 0); };
    const Outcome run = Start(consent);
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_TRUE(MarkerIsEmptyFile());
}

// Under a Debian package manager the question goes through debconf, with a
// private database: by a maintainer script that uses debconf, and by one
// that does not (the app then starts debconf's frontend itself).
TEST_F(AppProcess, UnderAPackageManagerDebconfAsks) {
    SetPreferences(kConsent);
    const std::string database = scratch / "config.dat";
    const std::string postinst = scratch.Write(
        "quorvel-test.postinst", "#!/bin/sh\n. /usr/share/debconf/confmodule\n\"" + app + "\"\n");
    fs::permissions(postinst, fs::perms::owner_all);
    struct Case {
        bool sourcesConfmodule;
        std::string frontend;
        std::optional<std::string> preseed; // "true" or "false"
        std::optional<std::string> answer;  // typed at the readline prompt
        std::optional<std::string> lproj;
        int status;
        const char* shown; // the question's title, when it was asked
    };
    const Case cases[] = {
        {true, "noninteractive", std::nullopt, std::nullopt, std::nullopt, 1, nullptr},
        {true, "noninteractive", "true", std::nullopt, std::nullopt, 0, nullptr},
        {true, "readline", "false", std::nullopt, std::nullopt, 1, nullptr},
        {false, "noninteractive", "true", std::nullopt, std::nullopt, 0, nullptr},
        {false, "readline", std::nullopt, std::string("yes\n"), "de", 0, "Quorvel installieren?"},
        {false, "readline", std::nullopt, std::string("no\n"), "fr", 1, "Installer Quorvel\u00a0?"},
        {true, "readline", std::nullopt, std::string("yes\n"), "ja", 0,
         "Quorvel をインストールしますか？"},
    };
    for (const Case& c : cases) {
        fs::remove(database);
        fs::remove(marker);
        SetInstallerLanguage(c.lproj);
        Launch run{c.answer,
                   "[yes/no]",
                   {{"DEBCONF_DB_REPLACE", "File{" + database + "}"},
                    {"DEBIAN_FRONTEND", c.frontend},
                    {"LC_ALL", "C.UTF-8"}}};
        if (c.preseed) {
            const Outcome preseed = Start(run, {"/bin/sh", "-c",
                                                "echo 'quorvel quorvel/consent boolean " +
                                                    *c.preseed + "' | debconf-set-selections"});
            ASSERT_EQ(preseed.status, 0) << preseed.output;
        }
        if (!c.sourcesConfmodule) {
            run.env["DPKG_MAINTSCRIPT_PACKAGE"] = "quorvel-test";
        }
        const Outcome outcome =
            Start(run, c.sourcesConfmodule ? std::vector<std::string>{postinst, "configure"}
                                           : std::vector<std::string>{});
        const std::string label = c.frontend + " " + c.preseed.value_or("-") + " " +
                                  c.answer.value_or("-") + "\n" + outcome.output;
        EXPECT_EQ(outcome.status, c.status) << label;
        EXPECT_EQ(MarkerIsEmptyFile(), c.status == 0) << label;
        if (c.shown != nullptr) {
            EXPECT_NE(outcome.output.find(c.shown), std::string::npos) << label;
        } else {
            EXPECT_EQ(outcome.output.find("[yes/no]"), std::string::npos) << label;
        }
        // An accepted answer stays; a declined one is asked again next time.
        std::ifstream file(database);
        const std::string stored((std::istreambuf_iterator<char>(file)), {});
        EXPECT_EQ(stored.find("Flags: seen") != std::string::npos, c.status == 0) << stored;
    }
}

} // namespace
