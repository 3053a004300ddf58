// SPDX-License-Identifier: LGPL-2.1-or-later
// From words to a command with checked arguments, and its execution.
#pragma once

#include <string>
#include <vector>

#include "eswctl/command.h"
#include "eswctl/turn.h"

namespace eswctl {

struct GlobalOptions {
    std::string interface = "eth0";
    uint64_t wait = no_limit;
    bool json = false;
    bool trace = false;
    bool dry_run = false;
    std::string given = ""; // one of those that the line has
};

struct Parsed {
    const Command *command = nullptr;
    Arguments arguments;
    GlobalOptions options;
    bool yes = false;
};

// What --help and --version ask for, instead of a command.
struct Answer {
    std::string text;
};

// Throws UsageError, or Answer.
Parsed parse(const std::vector<std::string> &words);

// Throws UsageError for a destructive command that nobody can be asked about.
void check_can_ask(const Parsed &parsed);

// Runs a parsed command, after asking where it is destructive. Throws Refused.
Report execute(const Parsed &parsed);

// Global options, for those who describe the command line: completion and the manual page.
std::vector<Argument> global_options();

} // namespace eswctl
