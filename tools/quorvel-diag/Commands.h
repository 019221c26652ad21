// The subcommands of quorvel-diag. Each fills a report from its arguments
// and returns the exit status: 0 done, 1 the operation itself failed. Bad
// arguments throw UsageError (exit status 2).
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "Report.h"

// Arguments a command cannot take; its text says what is wrong.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// One subcommand: its name, its help and what runs it.
struct Command {
    const char* name;
    const char* usage;   // the arguments, for the help text
    const char* summary; // one line
    // Fills `report` from `args` (the words after the name); the exit status.
    int (*run)(const std::vector<std::string>& args, Report& report);
};

// Every subcommand, in the order the help lists them.
const std::vector<Command>& Commands();
