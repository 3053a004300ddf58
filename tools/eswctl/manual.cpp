// SPDX-License-Identifier: LGPL-2.1-or-later
// manual: the page eswctl(1), made from the same tables as the command line itself.
#include <fmt/format.h>

#include "eswctl/cli.h"
#include "eswctl/families.h"
#include "eswctl/settings.h"

namespace eswctl {
namespace {

std::string roff(const std::string &text)
{
    std::string escaped;
    for (const char c : text)
        escaped += c == '-' ? std::string("\\-") : c == '\\' ? std::string("\\e") : std::string(1, c);
    return escaped.starts_with('.') || escaped.starts_with('\'') ? "\\&" + escaped : escaped;
}

std::string named(const Argument &argument)
{
    std::string text = roff(argument.name);
    if (const size_t comma = text.find(','); comma != std::string::npos)
        text.replace(comma, 1, "\\fR, \\fB");
    if (!argument.name.starts_with('-'))
        text = fmt::format("\\fI{}\\fR", text);
    else if (argument.kind.parse)
        text = fmt::format("\\fB{}\\fR \\fI{}\\fR", text, roff(argument.kind.name));
    else
        text = fmt::format("\\fB{}\\fR", text);
    return argument.repeated ? text + " ..." : text;
}

std::string synopsis(const Argument &argument)
{
    return argument.required ? named(argument) : '[' + named(argument) + ']';
}

std::string described(const Argument &argument)
{
    return fmt::format(".TP\n{}\n{}\n", named(argument), roff(argument.help));
}

std::string described(const Command &command)
{
    std::string usage = fmt::format("\\fBeswctl {}\\fR", roff(command.words));
    for (const Argument &argument : command.arguments)
        usage += ' ' + synopsis(argument);
    if (command.asks)
        usage += " [\\fB\\-\\-yes\\fR]";
    std::string text = fmt::format(".TP\n{}\n{}.\n", usage, roff(command.summary));
    if (command.arguments.empty())
        return text;
    text += ".RS\n";
    for (const Argument &argument : command.arguments)
        text += described(argument);
    return text + ".RE\n";
}

std::string with(std::string text, const std::string &mark, const std::string &value)
{
    return text.replace(text.find(mark), mark.size(), value);
}

std::string options()
{
    std::string text;
    for (const Argument &option : global_options())
        text += described(option);
    return text;
}

std::string commands()
{
    std::string text;
    for (const Family *family : families()) {
        if (!family->noun.empty())
            text += fmt::format(".SS {}: {}\n", roff(family->noun), roff(family->summary));
        for (const Command &command : family->commands)
            text += command.run ? described(command) : "";
    }
    return text;
}

std::string omitted()
{
    std::string text;
    for (const Omission &omission : omissions())
        text += fmt::format("{}{}", text.empty() ? "" : ",\n", roff(omission.words));
    return text;
}

Report manual(const Arguments &)
{
    std::string page = with(embedded("eswctl.1.in"), "@VERSION@", ESW_VERSION);
    page = with(with(with(page, "@OPTIONS@", options()), "@COMMANDS@", commands()), "@OMITTED@", omitted());
    return {.value = {{"page", page}}, .text = page};
}

} // namespace

void add_manual_command(Family &family)
{
    family.add("manual", "Print the manual page eswctl(1) for man -l -", manual).offline = true;
}

} // namespace eswctl
