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
    std::function<void()> beforeAnswer = {}; // done while the question waits
    unsigned short columns = 80;             // the terminal's width
};

struct Outcome {
    int status = -1;    // -1: killed by a signal, or hung and killed
    std::string output; // stderr, or everything the terminal showed
};

class AppProcess : public ::testing::Test {
protected:
    void SetUp() override {
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
        fs::remove_all(marker);
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
        winsize size{24, run.columns, 0, 0};
        const pid_t pid = run.answer ? forkpty(&output, nullptr, nullptr, &size) : Spawn(&output);
        if (pid == 0) {
            for (const char* name :
                 {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "LANGUAGE", "DEBIAN_FRONTEND",
                  "DEBIAN_HAS_FRONTEND", "DEBCONF_REDIR", "DPKG_MAINTSCRIPT_PACKAGE", "LC_ALL"}) {
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
                if (run.beforeAnswer) {
                    run.beforeAnswer();
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
    std::string marker = "/tmp/quorvel-test-marker-" + std::to_string(getpid());
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
    fs::remove(link);
    fs::remove(escape);
}

// Every way of asking, the first that can ask doing so. Under a Debian
// package manager debconf asks, with a private database: for a maintainer
// script that uses debconf, and for one that does not (the app then starts
// debconf's frontend itself). Else the terminal asks, in the installer's
// language (never from outside the bundle), the answer being the whole line;
// nobody asks (a decline) however the display is broken. The shared property
// list is anyone's to plant: what is not a small regular file is not read.
TEST_F(AppProcess, EveryWayOfAsking) {
    SetPreferences(kConsent);
    scratch.Write("Test.app/Contents/x.lproj/Localizable.strings", "IDS_UI_BUTTON_OK = Escaped;");
    const std::string database = scratch / "config.dat", none = "[i] language:[(null)]";
    const std::vector<std::string> postinst = {scratch.Write(
        "quorvel-test.postinst", "#!/bin/sh\n. /usr/share/debconf/confmodule\n\"" + app + "\"\n")};
    fs::permissions(postinst[0], fs::perms::owner_all);
    const auto debconf = [&](const char* frontend, std::optional<std::string> answer, bool own) {
        Launch run{std::move(answer),
                   "[yes/no]",
                   {{"DEBCONF_DB_REPLACE", "File{" + database + "}"},
                    {"DEBIAN_FRONTEND", frontend},
                    {"LC_ALL", "C.UTF-8"}}};
        if (own) {
            run.env["DPKG_MAINTSCRIPT_PACKAGE"] = "quorvel-test";
        }
        return run;
    };
    const auto preseed = [&](const std::string& value) {
        return [&, value] {
            const std::string line = "quorvel quorvel/consent boolean " + value;
            const Outcome run =
                Start(debconf("noninteractive", std::nullopt, false),
                      {"/bin/sh", "-c", "echo '" + line + "' | debconf-set-selections"});
            ASSERT_EQ(run.status, 0) << run.output;
        };
    };
    const auto lproj = [](const std::string& name) {
        return [name] { SetInstallerLanguage(name); };
    };
    const std::map<std::string, std::string> deadDisplays = {
        {"DISPLAY", ":1021"}, {"WAYLAND_DISPLAY", scratch / "wayland-0"}};
    const std::string huge = "{ InstallerLproj = de; x = \"" + std::string(1 << 20, 'x') + "\"; }";
    const std::string en = "Quorvel is about to be installed on this computer.";
    const std::function<void()> nothing = [] {};
    const Launch decline{std::string("2\n")};
    // debconf's answer words come from the system's gettext, which follows
    // LANGUAGE under C.UTF-8 on Debian 12 but not on Debian 13: the words are
    // whatever debconf-i18n gives there, and both start with "n" for no.
    const auto debconfWord = [&](const char* word) {
        const Outcome said = Start(
            {std::nullopt, "", {{"LC_ALL", "C.UTF-8"}, {"LANGUAGE", "de"}}},
            {"/usr/bin/perl", "-e",
             std::string("use Locale::gettext; textdomain('debconf'); print STDERR gettext('") +
                 word + "')"});
        return said.output;
    };
    Launch german = debconf("readline", "n\n", true);
    german.env["LC_ALL"] = "C.UTF-8";
    german.env["LANGUAGE"] = "de";
    german.prompt = "[" + debconfWord("yes") + "/" + debconfWord("no") + "]";
    Launch narrow{std::string("2\n")};
    narrow.columns = 40;
    const std::string consent =
        "To consent ahead of time: echo \"quorvel quorvel/consent boolean true\"";
    const struct {
        Launch launch;
        std::function<void()> setup; // the shared property list, debconf's database
        int status;
        std::vector<std::string> shown;        // in the output; "!text": not in it
        std::vector<std::string> command = {}; // none: the app itself
    } cases[] = {
        {debconf("noninteractive", std::nullopt, false),
         nothing,
         1,
         {"![yes/no]", "nobody could be asked", consent},
         postinst},
        {debconf("noninteractive", std::nullopt, false), preseed("true"), 0, {}, postinst},
        {debconf("readline", std::nullopt, false),
         preseed("false"),
         1,
         {"![yes/no]", "answered no ahead of time", consent},
         postinst},
        {german, nothing, 1, {"Quorvel installieren?", "was declined", consent}},
        {debconf("noninteractive", std::nullopt, true), preseed("true"), 0, {}},
        {debconf("readline", "yes\n", true), lproj("de"), 0, {"Quorvel installieren?"}},
        {debconf("readline", "no\n", true), lproj("fr"), 1, {"Installer Quorvel\u00a0?"}},
        {debconf("readline", "yes\n", false),
         lproj("ja"),
         0,
         {"Quorvel をインストールしますか？"},
         postinst},
        {{}, nothing, 1, {"no display and no terminal", none}},
        {{std::nullopt, "", deadDisplays}, nothing, 1, {"no display could be opened", "!" + en}},
        {{std::nullopt, "", {{"DISPLAY", ":1021"}}}, nothing, 1, {"no display and no terminal"}},
        {{std::string("\n"), "", {{"DEBIAN_FRONTEND", "noninteractive"}, {"DISPLAY", ":1021"}}},
         nothing,
         1,
         {"nobody may be asked", "!" + en}},
        {{std::string("\n"), "> ", deadDisplays},
         nothing,
         0,
         {"no display could be opened", en, "!qt.qpa"}},
        {narrow, nothing, 1, {"Quorvel is about to be installed on this\r\ncomputer."}},
        {{std::string(63, ' ') + "2\n"}, nothing, 1, {none, "Continue", "Cancel"}},
        {{std::string(3000, 'x') + "\n2\n"}, nothing, 1, {}}, // not an answer: asked again
        {{std::string(" 1 \n")}, nothing, 0, {}},
        // A FIFO planted at the marker while the question waits neither blocks nor keeps it.
        {{std::string("1\n"), "> ", {}, [&] { mkfifo(marker.c_str(), 0666); }}, nothing, 0, {}},
        {decline, lproj("de"), 1, {"[i] language:[de]", "Fortfahren", "Abbrechen"}},
        {decline, lproj("fr"), 1, {"Continuer", "Annuler", "Voulez-vous continuer\u00a0?"}},
        {decline, lproj("ja"), 1, {"続ける", "キャンセル", "Quorvel をインストールします。"}},
        {decline, lproj("xx"), 1, {"[i] language:[xx]", "Continue", "Cancel", en}},
        {decline, lproj("../x"), 1, {"[i] language:[../x]", "Continue", "!Escaped"}},
        {{}, [] { mkfifo(kSharedPlist, 0666); }, 1, {none}},
        {{}, [&] { std::ofstream(kSharedPlist) << huge; }, 1, {none}},
        {{}, [&] { fs::create_symlink(scratch / "lproj", kSharedPlist); }, 1, {none}},
    };
    std::ofstream(scratch / "lproj") << "{ InstallerLproj = de; }";
    for (const auto& c : cases) {
        fs::remove(kSharedPlist);
        fs::remove(database);
        std::ofstream(marker).flush(); // stale, from an earlier run: a decline leaves none
        c.setup();
        const Outcome run = Start(c.launch, c.command);
        const std::string label = run.output.substr(0, 2000);
        EXPECT_EQ(run.status, c.status) << label;
        EXPECT_EQ(fs::exists(fs::symlink_status(marker)), c.status == 0) << label;
        EXPECT_EQ(MarkerIsEmptyFile(), c.status == 0) << label;
        // A display that does not open says so only after the terminal's question.
        const std::size_t noDisplay = run.output.find("no display could be opened");
        if (c.launch.answer && noDisplay != std::string::npos) {
            EXPECT_LT(run.output.find("1) "), noDisplay) << label;
        }
        for (const std::string& text : c.shown) {
            const bool absent = text[0] == '!';
            EXPECT_EQ(run.output.find(text.substr(absent)) == std::string::npos, absent)
                << text << "\n"
                << label;
        }
        // debconf keeps an accepted answer; a declined one is asked again next time.
        if (c.launch.env.count("DEBCONF_DB_REPLACE") != 0) {
            std::ifstream file(database);
            const std::string stored((std::istreambuf_iterator<char>(file)), {});
            const std::size_t record = stored.find("Name: quorvel/consent\n");
            const std::string question =
                record == std::string::npos
                    ? ""
                    : stored.substr(record, stored.find("\n\n", record) - record);
            EXPECT_EQ(question.find("Flags: seen") != std::string::npos, c.status == 0) << stored;
        }
    }
}

// A product's bundle whose executable is a link to the companion's: the
// product's Preferences and strings are read, the companion's plug-in is
// found beside the real executable.
TEST_F(AppProcess, ProductBundleLinkedToTheCompanion) {
    SetPreferences("OperationType = 7;"); // the companion's own bundle asks nothing
    const std::string product = scratch / "Product.app/Contents";
    fs::create_directories(product + "/MacOS");
    fs::create_directories(product + "/Resources/en.lproj");
    fs::create_symlink(app, product + "/MacOS/QuorvelInstaller");
    const std::string productMarker = marker + "-product";
    scratch.Write("Product.app/Contents/Resources/Preferences",
                  Preferences(kConsent, productMarker.substr(5)));
    scratch.Write("Product.app/Contents/Resources/en.lproj/Localizable.strings",
                  "IDS_UI_CONSENT_MESSAGE = \"Install the product?\";");
    const Outcome run = Start({std::string("1\n"), "> ", {{"DISPLAY", ":1021"}}},
                              {product + "/MacOS/QuorvelInstaller"});
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_NE(run.output.find("Install the product?"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("no display could be opened"), std::string::npos) << run.output;
    EXPECT_TRUE(fs::is_regular_file(productMarker));
    EXPECT_FALSE(fs::exists(marker));
    fs::remove(productMarker);
}

} // namespace
