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

    // Preferences in the old-style text format, naming our marker.
    std::string Preferences(const std::string& entries, const std::string& name = "") const {
        return "{ InstallationFileName = \"" + (name.empty() ? marker.substr(5) : name) + "\"; " +
               entries + " }";
    }
    void SetPreferences(const std::string& entries) {
        scratch.Write("Test.app/Contents/Resources/Preferences", Preferences(entries));
    }

    // Puts the installer's language in its shared property list.
    static void SetInstallerLanguage(const std::string& lproj) {
        std::ofstream(kSharedPlist) << "{ InstallerLproj = \"" << lproj << "\"; }";
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

// Every run that asks nothing, with what is in /tmp before it. Whatever the
// Preferences name, nothing is written or removed outside /tmp, nor through
// a link planted there; a link or FIFO at the marker path is replaced.
TEST_F(AppProcess, CarriesOutEachOperation) {
    enum Marker { kAbsent, kEmpty, kKept };
    const std::string name = marker.substr(5), target = scratch / "planted-target";
    const std::string escape = "/var/tmp/" + name, link = marker + "-folder";
    const auto prefs = [this](const std::string& file, const std::string& entries) {
        return Preferences(entries, file);
    };
    const std::function<void()> nothing = [] {}, stale = [&] { std::ofstream(marker) << "x"; };
    const struct {
        std::optional<std::string> preferences; // none: no Preferences file
        std::function<void()> plant;
        const char* line; // "": nothing logged at all
        Marker after;
    } cases[] = {
        {prefs(name, "OperationType = 7;"), nothing, "[i] the 7 end with status 0.", kEmpty},
        {prefs(name, "OperationType = 7;"), stale, "[i] the 7 end with status 0.", kEmpty},
        {prefs(name, "OperationType = 8;"), stale, "[i] the 8 end with status 0.", kKept},
        {prefs(name, "OperationType = 8;"), nothing, "[i] the 8 end with status 0.", kAbsent},
        {prefs(name, "OperationType = 9;"), nothing, "[i] operation is none.", kAbsent},
        {prefs(name, "OperationType = 0;"), stale, "[i] operation is none.", kKept},
        {prefs(name, ""), nothing, "[i] operation is none.", kAbsent},
        {"{ OperationType = 7; }", stale, "[i] the 7 end with status 0.", kKept}, // no name
        {std::nullopt, nothing, "", kAbsent},
        {"", nothing, "", kAbsent},
        {"{ OperationType = 7; ", nothing, "", kAbsent},
        {std::string("\xFF\xFE\x00", 3), nothing, "", kAbsent},
        {"<?xml version=\"1.0\"?><plist>", nothing, "", kAbsent},
        {prefs(name, "OperationType = 7;"), [&] { fs::create_symlink(target, marker); },
         "[i] the 7 end with status 0.", kEmpty},
        {prefs(name, "OperationType = 7;"), [&] { fs::create_symlink(scratch.path(), marker); },
         "[i] the 7 end with status 0.", kEmpty},
        {prefs(name, "OperationType = 7;"), [&] { mkfifo(marker.c_str(), 0666); },
         "[i] the 7 end with status 0.", kEmpty},
        {prefs(name, "OperationType = 7;"), [&] { fs::create_directory(marker); },
         "<!> failed to create installation file.", kKept},
        {prefs("//" + name + "/", "OperationType = 7;"), stale, "[i] the 7 end", kEmpty},
        {prefs("../var/tmp/" + name, "OperationType = 7;"), nothing,
         "<!> failed to create installation file.", kAbsent},
        {prefs("..", "OperationType = 7;"), nothing, "<!> failed to create installation file.",
         kAbsent},
        {prefs(link.substr(5) + "/" + name, "OperationType = 7;"),
         [&] { fs::create_symlink(scratch.path(), link); },
         "<!> failed to create installation file.", kAbsent},
    };
    for (const auto& c : cases) {
        fs::remove_all(marker);
        fs::remove(link);
        std::ofstream(escape) << "outside";
        std::ofstream(scratch / name) << "outside";
        fs::remove(scratch / "Test.app/Contents/Resources/Preferences");
        if (c.preferences) {
            scratch.Write("Test.app/Contents/Resources/Preferences", *c.preferences);
        }
        c.plant();
        const Outcome run = Start();
        const std::string label = c.preferences.value_or("(none)") + "\n" + run.output;
        EXPECT_EQ(run.status, 0) << label;
        if (*c.line == '\0') {
            EXPECT_EQ(run.output, "") << label;
        }
        EXPECT_NE(run.output.find(c.line), std::string::npos) << label;
        EXPECT_EQ(run.output.find("<!>") != std::string::npos, c.line[0] == '<') << label;
        EXPECT_EQ(MarkerIsEmptyFile(), c.after == kEmpty) << label;
        EXPECT_EQ(fs::exists(fs::symlink_status(marker)), c.after != kAbsent) << label;
        EXPECT_FALSE(fs::exists(target)) << label;
        for (const std::string& outside : {escape, scratch / name}) {
            std::ifstream file(outside);
            EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "outside") << label;
        }
    }
    fs::remove_all(marker);
    fs::remove(link);
    fs::remove(escape);
}

// The question without a package manager: on the terminal, in the
// installer's language (never from outside the bundle), the answer being the
// whole line; declined when nobody can be asked, however the display is
// broken. The shared property list is anyone's to plant: what is not a small
// regular file is not read, and nothing in it can hang or crash the app.
TEST_F(AppProcess, TheQuestionOnTheTerminal) {
    SetPreferences(kConsent);
    scratch.Write("Test.app/Contents/x.lproj/Localizable.strings", "IDS_UI_BUTTON_OK = Escaped;");
    const std::map<std::string, std::string> deadDisplays = {
        {"DISPLAY", ":1021"}, {"WAYLAND_DISPLAY", scratch / "wayland-0"}};
    const auto lproj = [](const std::string& name) {
        return
            [name] { std::ofstream(kSharedPlist) << "{ InstallerLproj = \"" << name << "\"; }"; };
    };
    std::string deep = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>k</key>";
    for (int i = 0; i < 100000; ++i) {
        deep += "<array>";
    }
    const std::string huge = "{ InstallerLproj = de; x = \"" + std::string(1 << 20, 'x') + "\"; }";
    const std::string en = "Quorvel is about to be installed on this computer.";
    Launch fifoWhileAsked{std::string("\n")};
    fifoWhileAsked.whenAsked = [this] { ASSERT_EQ(mkfifo(marker.c_str(), 0666), 0); };
    const std::function<void()> nothing = [] {};
    const struct {
        Launch launch;
        std::function<void()> shared; // puts the shared property list in place
        int status;
        std::vector<std::string> shown; // in the output; "!text": not in it
    } cases[] = {
        {{}, nothing, 1, {"no display and no terminal", "[i] language:[(null)]"}},
        {{std::nullopt, "", deadDisplays}, nothing, 1, {"no display could be opened", "!" + en}},
        {{std::nullopt, "", {{"DISPLAY", ":1021"}}}, nothing, 1, {"no display and no terminal"}},
        {{std::string("\n"), "", {{"DEBIAN_FRONTEND", "noninteractive"}, {"DISPLAY", ":1021"}}},
         nothing,
         1,
         {"nobody may be asked", "!" + en}},
        {{std::string("\n"), "> ", deadDisplays}, nothing, 0, {"no display could be opened", en}},
        {{std::string(63, ' ') + "2\n"},
         nothing,
         1,
         {"[i] language:[(null)]", "Continue", "Cancel"}},
        {{std::string(3000, 'x') + "\n2\n"}, nothing, 1, {}}, // not an answer: asked again
        {{std::string(" 1 \n")}, nothing, 0, {}},
        {fifoWhileAsked, nothing, 0, {}}, // replaced, never written through
        {{std::string("2\n")},
         lproj("de"),
         1,
         {"[i] language:[de]", "Fortfahren", "Abbrechen",
          "Quorvel wird jetzt auf diesem Computer installiert."}},
        {{std::string("2\n")},
         lproj("fr"),
         1,
         {"Continuer", "Annuler", "Voulez-vous continuer\u00a0?"}},
        {{std::string("2\n")},
         lproj("ja"),
         1,
         {"続ける", "キャンセル", "このコンピュータに Quorvel をインストールします。"}},
        {{std::string("2\n")}, lproj("xx"), 1, {"[i] language:[xx]", "Continue", "Cancel", en}},
        {{std::string("2\n")}, lproj("../x"), 1, {"[i] language:[../x]", "Continue", "!Escaped"}},
        {{}, [] { mkfifo(kSharedPlist, 0666); }, 1, {"[i] language:[(null)]"}},
        {{}, [&] { std::ofstream(kSharedPlist) << huge; }, 1, {"[i] language:[(null)]"}},
        {{},
         [&] {
             std::ofstream(scratch / "lproj") << "{ InstallerLproj = de; }";
             fs::create_symlink(scratch / "lproj", kSharedPlist);
         },
         1,
         {"[i] language:[(null)]"}},
    };
    for (const auto& c : cases) {
        fs::remove(marker);
        fs::remove(kSharedPlist);
        c.shared();
        const Outcome run = Start(c.launch);
        const std::string label = run.output.substr(0, 2000);
        EXPECT_EQ(run.status, c.status) << label;
        EXPECT_EQ(MarkerIsEmptyFile(), c.status == 0) << label;
        for (const std::string& text : c.shown) {
            const bool absent = text[0] == '!';
            EXPECT_EQ(run.output.find(text.substr(absent ? 1 : 0)) == std::string::npos, absent)
                << text << "\n"
                << label;
        }
    }
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
        std::string lproj;                  // "": a language the bundle does not have
        int status;
        const char* shown; // the question's title, when it was asked
    };
    const Case cases[] = {
        {true, "noninteractive", std::nullopt, std::nullopt, "", 1, nullptr},
        {true, "noninteractive", "true", std::nullopt, "", 0, nullptr},
        {true, "readline", "false", std::nullopt, "", 1, nullptr},
        {false, "noninteractive", "true", std::nullopt, "", 0, nullptr},
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
