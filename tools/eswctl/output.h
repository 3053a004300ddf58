// SPDX-License-Identifier: LGPL-2.1-or-later
// The one way from a report to the user, and what commands that go on for a while need.
#pragma once

#include <csignal>
#include <string>

#include "eswctl/report.h"

namespace eswctl {

// Chosen once, by --json.
void print_as_json(bool json);
bool printing_json();

// Prints a report. Commands return their report; one that goes on (a watch) emits each state as it comes and
// returns an empty report in the end: as JSON that is one document a line. Throws Refused when nobody takes
// it.
void emit(const Report &report);

void print_or_throw(const std::string &text);

// Before something else goes to the terminal.
void hide_progress();

// From now on, emit() prints nothing: what a dry run's command has to say did not happen.
void silence(bool silent);

// Sleeps. False when the user pressed Ctrl-C: the command then ends in order.
bool wait_for_next(double seconds);
bool was_interrupted();

// To the end of its scope, Ctrl-C and its like are noted, and end nothing. Nor does a terminal or a reader that
// goes away: what is begun is worth more than what it says.
class Interruptible {
public:
    Interruptible();
    ~Interruptible(); // forgets what came
    Interruptible(const Interruptible &) = delete;
    Interruptible &operator=(const Interruptible &) = delete;

private:
    struct sigaction former_[4];
};
bool take_interrupt(); // whether one was noted since the last call

// Shows the states of a watch in one place of a terminal, cut to its size; elsewhere one after another.
class LiveView {
public:
    void emit(const Report &report);

private:
    size_t lines_ = 0; // that the last state took
};

// A line on standard error that tells how far a long command is; nothing unless that is a terminal.
class Progress {
public:
    explicit Progress(std::string what, size_t total = 0); // 0: unknown
    ~Progress();                                           // clears the line
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void advance_to(size_t done);
    void hide() const; // until the next advance

private:
    std::string what_;
    size_t total_;
    size_t columns_;        // of the terminal; 0 shows nothing
    const Progress *outer_; // whose line comes back in the end
};

// Whole files. A regular one is written under another name first and then renamed, so that nobody reads half
// of it. Throw Refused with the system's reason.
void write_file(const std::string &path, const std::string &text);
std::string read_file(const std::string &path); // "-" is standard input
std::string name_file(const std::string &path); // in messages about what was read

// Writes a document's text and reports what was done, or reports the document itself where the file is "-".
Report write_document(const std::string &path, Report document, const Report &done);

} // namespace eswctl
