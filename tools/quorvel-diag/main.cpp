// quorvel-diag: the support library's view of this machine, for release
// engineers and support staff.
//
//   quorvel-diag [--json] COMMAND [ARGS]     run a command
//   quorvel-diag --help | COMMAND --help     help
//   quorvel-diag --version
//
// Exit status: 0 done, 1 the operation failed, 2 bad usage.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Commands.h"

namespace {

constexpr const char* kVersion = "0.1.0";

void PrintHelp(const Command* command) {
    if (command != nullptr) {
        std::printf("usage: quorvel-diag [--json] %s %s\n\n%s\n", command->name, command->usage,
                    command->summary);
        return;
    }
    std::printf("usage: quorvel-diag [--json] COMMAND [ARGS]\n\ncommands:\n");
    for (const Command& each : Commands()) {
        std::printf("  %-8s %-40s %s\n", each.name, each.usage, each.summary);
    }
    std::printf(
        "\noptions:\n  --json     machine-readable output\n  --help     this text, or a command's\n"
        "  --version  the version\n\nexit status: 0 done, 1 the operation failed, 2 bad usage\n");
}

int UsageFailure(const std::string& message) {
    std::fprintf(stderr, "quorvel-diag: %s (see quorvel-diag --help)\n", message.c_str());
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    bool json = false, help = false;
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--json") {
            json = true;
        } else if (arg == "--help" || arg == "-h") {
            help = true;
        } else if (arg == "--version") {
            std::printf("quorvel-diag %s\n", kVersion);
            return 0;
        } else {
            words.push_back(arg);
        }
    }
    if (words.empty()) {
        if (help) {
            PrintHelp(nullptr);
            return 0;
        }
        return UsageFailure("missing command");
    }
    const Command* command = nullptr;
    for (const Command& each : Commands()) {
        command = words[0] == each.name ? &each : command;
    }
    if (command == nullptr) {
        return UsageFailure("unknown command '" + words[0] + "'");
    }
    if (help) {
        PrintHelp(command);
        return 0;
    }
    try {
        Report report;
        const int status =
            command->run(std::vector<std::string>(words.begin() + 1, words.end()), report);
        report.Print(json);
        return status;
    } catch (const UsageError& error) {
        return UsageFailure(std::string(command->name) + ": " + error.what());
    }
}
