// SPDX-License-Identifier: LGPL-2.1-or-later
// The tool's three channels. The library prints its messages on standard output; the tool's own output stays
// clean, so those messages are sent to standard error.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace eswctl {

// Before anything is printed: takes standard output for the tool, and leaves the library standard error.
void separate_output();

// False when it can't be written.
bool print(const std::string &text);

// To standard error, as well as it takes it: a message that nobody reads must not end the work.
void tell(const std::string &text);

struct TerminalSize {
    size_t rows, columns;
};

// Of the terminal that output goes to, or standard error; none when it goes elsewhere, or to a terminal that
// shall stay plain.
std::optional<TerminalSize> output_terminal();
std::optional<TerminalSize> error_terminal();

// Asks on the terminal whether to do what a sentence without its full stop says.
bool can_ask();
bool confirm(const std::string &question);

// Starts a program: in the foreground with the tool's own output, or without a terminal and in a session of
// its own, so that it outlives this one. Throws Refused.
pid_t start(const std::string &program, const std::vector<std::string> &words, bool detached);

// Holds back what is printed to standard output and error, to show it or not once its cause is known.
class HeldBack {
public:
    HeldBack();
    ~HeldBack();
    HeldBack(const HeldBack &) = delete;
    HeldBack &operator=(const HeldBack &) = delete;

    std::string release(); // ends it

private:
    int memory_;
    int output_;
    int error_;
};

} // namespace eswctl
