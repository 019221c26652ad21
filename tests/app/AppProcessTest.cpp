// The real app, started as a child process on a bundle made for each test.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/support/ScratchDir.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ScratchDir;

constexpr const char* kSharedPlist = "/tmp/com.quorvel.installer.plist";

struct Outcome {
    int status = -1;
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
        fs::copy_file(QUORVEL_APP_EXE, scratch / "Test.app/Contents/MacOS/QuorvelInstaller");
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

    // Runs the app without a display; with `answer` it gets a terminal and
    // types it, else it has none at all.
    Outcome Start(const std::optional<std::string>& answer = std::nullopt) {
        int output = -1;
        const pid_t pid = answer ? forkpty(&output, nullptr, nullptr, nullptr) : Spawn(&output);
        if (pid == 0) {
            for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "LANGUAGE"}) {
                unsetenv(name);
            }
            setenv("LANG", "C", 1);
            const std::string exe = scratch / "Test.app/Contents/MacOS/QuorvelInstaller";
            execl(exe.c_str(), exe.c_str(), nullptr);
            _exit(127);
        }
        if (answer) {
            (void)!write(output, answer->data(), answer->size());
        }
        Outcome run;
        char buffer[4096];
        pollfd wait{output, POLLIN, 0};
        while (poll(&wait, 1, 10000) > 0) {
            const ssize_t got = read(output, buffer, sizeof buffer);
            if (got <= 0) {
                break;
            }
            run.output.append(buffer, static_cast<std::size_t>(got));
        }
        close(output);
        int status = 0;
        waitpid(pid, &status, 0);
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return run;
    }

    bool MarkerIsEmptyFile() const {
        return fs::is_regular_file(marker) && fs::file_size(marker) == 0;
    }

    ScratchDir scratch;
    std::string marker;

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

TEST_F(AppProcess, MarkerProblemsAreLoggedAndTheStatusStaysZero) {
    scratch.Write("Test.app/Contents/Resources/Preferences", "{ OperationType = 7; }");
    Outcome run = Start(); // no InstallationFileName: nothing to write
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.output.find("[i] the 7 end with status 0."), std::string::npos);
    EXPECT_EQ(run.output.find("<!>"), std::string::npos);

    SetPreferences("OperationType = 7;");
    const std::string target = scratch / "planted-target";
    fs::create_symlink(target, marker); // a link someone planted
    run = Start();
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.output.find("<!> failed to create installation file."), std::string::npos);
    EXPECT_FALSE(fs::exists(target));
    fs::remove(marker);
    fs::create_directory(marker);
    run = Start();
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.output.find("<!> failed to create installation file."), std::string::npos);
    fs::remove(marker);
}

TEST_F(AppProcess, ConsentWithoutDisplayOrTerminalIsDeclined) {
    SetPreferences("OperationType = 7; ConsentMessage = IDS_UI_CONSENT_MESSAGE;");
    const Outcome run = Start();
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(fs::exists(marker));
    EXPECT_NE(run.output.find("[i] language:[(null)]"), std::string::npos);
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
        {"fr", "Continuer", "Annuler", "Quorvel va être installé sur cet ordinateur."},
        {"ja", "続ける", "キャンセル", "このコンピュータに Quorvel をインストールします。"},
        {"en", "Continue", "Cancel", "Quorvel is about to be installed on this computer."},
        {"xx", "Continue", "Cancel",
         "Quorvel is about to be installed"}, // no such lproj: the bundle's own
        {std::nullopt, "Continue", "Cancel", "Quorvel is about to be installed"},
    };
    SetPreferences("OperationType = 7; ConsentMessage = IDS_UI_CONSENT_MESSAGE;");
    for (const Case& c : cases) {
        fs::remove(kSharedPlist);
        if (c.lproj) {
            std::ofstream(kSharedPlist) << "{ InstallerLproj = \"" << *c.lproj << "\"; }";
        }
        fs::remove(marker);
        Outcome run = Start(std::string("2\n"));
        EXPECT_EQ(run.status, 1) << run.output;
        EXPECT_FALSE(fs::exists(marker));
        for (const char* text : {c.ok, c.cancel, c.message}) {
            EXPECT_NE(run.output.find(text), std::string::npos) << text << "\n" << run.output;
        }
        EXPECT_NE(run.output.find("[i] language:[" + c.lproj.value_or("(null)") + "]"),
                  std::string::npos);
        run = Start(std::string("\n")); // Enter takes the default button
        EXPECT_EQ(run.status, 0) << run.output;
        EXPECT_TRUE(MarkerIsEmptyFile());
    }
}

} // namespace
