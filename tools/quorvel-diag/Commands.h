// The subcommands of quorvel-diag. Each fills a report from its arguments
// and returns the exit status: 0 done, 1 the operation itself failed. Bad
// arguments throw UsageError (exit status 2).
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "Report.h"

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Command {
    const char* name;
    const char* usage;   // the arguments, for the help text
    const char* summary; // one line
    int (*run)(const std::vector<std::string>& args, Report& report);
};

// Every subcommand, in the order the help lists them.
const std::vector<Command>& Commands();
