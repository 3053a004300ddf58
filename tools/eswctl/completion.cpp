// SPDX-License-Identifier: LGPL-2.1-or-later
// completion: scripts for shells, made from the same tables as the command line itself.
//
// All shells share one table and one walk over it, in the language of sh. Bash and zsh read these as their
// own; fish hands them to sh. What a shell adds is how it asks, and how it shows the offers.
#include <fmt/format.h>

#include "eswctl/cli.h"
#include "eswctl/families.h"

namespace eswctl {

namespace {

// Rows are "PLACE|SLOT|OFFER|DESCRIPTION". A place is a command's words, each behind a blank; "-" is any
// place. A slot is "word" (the next word of a command), "option", an option's name (its value), a number (the
// argument at this position) or "more" (those behind the last position); with a comma, a value further on in
// a list. An offer is a text, or where offers come from, or nothing when only the user knows.
std::string row(const std::string &place, const std::string &slot, const std::string &offer,
                const std::string &description)
{
    return fmt::format("{}|{}|{}|{}\n", place, slot, offer, description);
}

bool may_repeat(const Kind &kind, const std::string &word)
{
    return !kind.parse(word + ',' + word).is_null();
}

std::string value_rows(const std::string &place, const std::string &slot, const Argument &argument)
{
    std::string rows;
    for (const std::string &word : argument.kind.words) {
        rows += row(place, slot, word, argument.help);
        if (may_repeat(argument.kind, word))
            rows += row(place, slot + ',', word, argument.help);
    }
    const std::string source = argument.kind.source.empty() ? "" : '@' + argument.kind.source;
    if (rows.empty() || !source.empty())
        rows += row(place, slot, source, argument.help);
    if (source == "@vlan" && may_repeat(argument.kind, "1"))
        rows += row(place, slot + ',', source, argument.help);
    return rows;
}

// "-i,--interface" is two words.
std::vector<std::string> spellings(const std::string &name)
{
    const size_t comma = name.find(',');
    if (comma == std::string::npos)
        return {name};
    return {name.substr(0, comma), name.substr(comma + 1)};
}

std::string option_rows(const std::string &place, const Argument &option)
{
    std::string rows;
    for (const std::string &spelling : spellings(option.name)) {
        rows += row(place, "option", spelling, option.help);
        if (option.kind.parse)
            rows += value_rows(place, spelling, option);
    }
    return rows;
}

std::string argument_rows(const std::string &place, const std::vector<Argument> &arguments)
{
    std::string rows;
    size_t position = 0;
    for (const Argument &argument : arguments) {
        if (argument.name.starts_with('-')) {
            rows += option_rows(place, argument);
            continue;
        }
        rows += value_rows(place, std::to_string(++position), argument);
        if (argument.repeated)
            rows += value_rows(place, "more", argument);
    }
    return rows;
}

std::string command_rows(const Command &command)
{
    const std::string place = ' ' + command.words;
    const size_t last = place.rfind(' ');
    std::string rows = row(place.substr(0, last), "word", place.substr(last + 1), command.summary);
    rows += argument_rows(place, command.arguments);
    return command.asks ? rows + row(place, "option", "--yes", "do not ask") : rows;
}

std::string table()
{
    std::string rows;
    for (const Family *family : families()) {
        if (!family->noun.empty())
            rows += row("", "word", family->noun, family->summary);
        for (const Command &command : family->commands)
            rows += command_rows(command);
    }
    rows += argument_rows("-", global_options());
    return rows + row("-", "option", "--help", "show help for this level of commands") +
           row("-", "option", "--version", "print the version");
}

// A backslash between quotes is itself in sh, but not in fish.
std::string quoted(const std::string &text, bool backslashes)
{
    std::string result;
    for (const char c : text) {
        if (c == '\'')
            result += "'\\''";
        else
            result += c == '\\' && backslashes ? std::string("\\\\") : std::string(1, c);
    }
    return '\'' + result + '\'';
}

std::string script_for(const std::string &shell)
{
    const std::string head =
        fmt::format("# {0} completion for eswctl; made by \"eswctl completion {0}\".\n", shell);
    const std::string own = embedded("eswctl." + shell);
    const std::string code = "_eswctl_table=" + quoted('\n' + table(), false) + '\n' + embedded("offers.sh");
    if (shell == "fish")
        return head + "set -g __eswctl_walk " + quoted(code + "_eswctl_offers \"$@\"\n", true) + '\n' + own;
    return (shell == "zsh" ? "#compdef eswctl esw-sim\n" : "") + head + '\n' + code + own;
}

Report completion(const Arguments &arguments)
{
    const auto shell = arguments["SHELL"].get<std::string>();
    const std::string script = script_for(shell);
    return {.value = {{"shell", shell}, {"script", script}}, .text = script};
}

} // namespace

void add_completion_command(Family &family)
{
    family
        .add("completion", "Print a completion script for a shell", completion,
             required("SHELL", "bash, zsh or fish", choice({"bash", "zsh", "fish"})))
        .offline = true;
}

} // namespace eswctl
