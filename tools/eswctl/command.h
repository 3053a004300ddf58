// SPDX-License-Identifier: LGPL-2.1-or-later
// What a command is: words, arguments and a function that makes a report. The command line, its help and its
// checks all come from the families' tables of these.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "eswctl/kinds.h"
#include "eswctl/report.h"

namespace eswctl {

// A positional argument ("PORT"), an option with a value ("--width") or, without a kind, a flag ("--yes").
struct Argument {
    std::string name;
    std::string help;
    Kind kind;
    bool required = false;
    bool repeated = false; // yields an array
    Json fallback = nullptr;
};

Argument required(const std::string &name, const std::string &help, const Kind &kind);
Argument optional(const std::string &name, const std::string &help, const Kind &kind,
                  const Json &fallback = nullptr);
Argument flag(const std::string &name, const std::string &help);
Argument several(Argument argument);

// The values given, by argument name. Absent ones hold their fallback.
using Arguments = Json;

// Words that only lead to commands ("rate egress" of "rate egress set") have a row of their own before those
// commands, without arguments and without a function.
struct Command {
    std::string words; // "port enable"
    std::string summary;
    std::vector<Argument> arguments;
    std::function<Report(const Arguments &)> run;
    bool asks = false;        // destructive: asks on a terminal unless --yes
    bool offline = false;     // needs no switch
    bool goes_on = false;     // until Ctrl-C
    bool asks_itself = false; // once it knows more than its summary says; --yes is among its arguments
};

struct Family {
    std::string noun; // empty for commands of a single word
    std::string summary;
    std::vector<Command> commands = {};

    template <typename... Some>
    Command &add(const std::string &words, const std::string &what, decltype(Command::run) run,
                 Some &&...arguments)
    {
        Command &command = commands.emplace_back(Command{words, what, {}, std::move(run)});
        command.arguments.reserve(sizeof...(arguments));
        (command.arguments.push_back(std::forward<Some>(arguments)), ...);
        return command;
    }
    template <typename... Some>
    void add_asking(const Some &...some)
    {
        add(some...).asks = true;
    }
    template <typename... Some>
    void add_watch(const Some &...some)
    {
        add(some...).goes_on = true;
    }
    void group(const std::string &words, const std::string &what) { add(words, what, {}); }
};

} // namespace eswctl
