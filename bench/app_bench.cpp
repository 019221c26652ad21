// The companion app as the installer sees it: the install operation from
// process start to exit, headless, beside a minimal Qt Widgets program
// (offscreen); and, when an X server is there (run under xvfb-run), the
// question panel shown with a ten-line message beside a bare Qt dialog.
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "bench/support/RatioReporter.h"

extern char** environ;

namespace {

// Starts `argv` with `extraEnvironment` added and waits for it; its exit status.
int RunProcess(std::vector<std::string> argv, const std::vector<std::string>& extraEnvironment,
               const std::vector<std::string>& removed = {}) {
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string variable = *entry;
        bool drop = false;
        for (const std::string& name : removed) {
            drop = drop || variable.compare(0, name.size() + 1, name + "=") == 0;
        }
        if (!drop) {
            environment.push_back(variable);
        }
    }
    environment.insert(environment.end(), extraEnvironment.begin(), extraEnvironment.end());
    std::vector<char*> args, envs;
    for (std::string& arg : argv) {
        args.push_back(arg.data());
    }
    for (std::string& variable : environment) {
        envs.push_back(variable.data());
    }
    args.push_back(nullptr);
    envs.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawn(&pid, args[0], nullptr, nullptr, args.data(), envs.data()) != 0) {
        return -1;
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void Time(benchmark::State& state, std::vector<std::string> argv,
          std::vector<std::string> environment, std::vector<std::string> removed,
          bool needsDisplay) {
    if (needsDisplay && std::getenv("DISPLAY") == nullptr) {
        state.SkipWithError("needs an X server: run this benchmark under xvfb-run");
        return;
    }
    for (auto _ : state) {
        if (RunProcess(argv, environment, removed) != 0) {
            state.SkipWithError("the program failed");
            return;
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    benchsupport::RatioReporter reporter;
    const auto ms = benchmark::kMillisecond;
    const std::vector<std::string> headless = {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"};
    benchmark::RegisterBenchmark("install_operation/headless", Time,
                                 std::vector<std::string>{QUORVEL_APP}, std::vector<std::string>{},
                                 headless, false)
        ->Unit(ms)
        ->UseRealTime();
    benchmark::RegisterBenchmark(
        "qt_minimal/offscreen", Time, std::vector<std::string>{QUORVEL_QT_PROGRAMS, "minimal"},
        std::vector<std::string>{"QT_QPA_PLATFORM=offscreen"}, std::vector<std::string>{}, false)
        ->Unit(ms)
        ->UseRealTime();
    benchmark::RegisterBenchmark(
        "panel_open/xvfb", Time, std::vector<std::string>{QUORVEL_QT_PROGRAMS, "panel"},
        std::vector<std::string>{"QT_QPA_PLATFORM=xcb"}, std::vector<std::string>{}, true)
        ->Unit(ms)
        ->UseRealTime();
    benchmark::RegisterBenchmark(
        "bare_dialog/xvfb", Time, std::vector<std::string>{QUORVEL_QT_PROGRAMS, "dialog"},
        std::vector<std::string>{"QT_QPA_PLATFORM=xcb"}, std::vector<std::string>{}, true)
        ->Unit(ms)
        ->UseRealTime();
    reporter.Compare("install_operation/headless", "qt_minimal/offscreen");
    reporter.Compare("panel_open/xvfb", "bare_dialog/xvfb");
    return benchsupport::RunWithRatios(argc, argv, reporter);
}
