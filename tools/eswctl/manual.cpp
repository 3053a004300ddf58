// manual: the page eswctl(1), made from the same tables as the command line itself.
#include <fmt/format.h>

#include "eswctl/cli.h"
#include "eswctl/families.h"

namespace eswctl {
namespace {

std::string roff(const std::string &text)
{
    std::string escaped;
    for (const char c : text)
        escaped += c == '-' ? std::string("\\-") : c == '\\' ? std::string("\\e") : std::string(1, c);
    return escaped.starts_with('.') || escaped.starts_with('\'') ? "\\&" + escaped : escaped;
}

std::string synopsis(const Argument &argument)
{
    std::string text = roff(argument.name);
    if (!argument.name.starts_with('-'))
        text = fmt::format("\\fI{}\\fR", text);
    else if (argument.kind.parse)
        text = fmt::format("\\fB{}\\fR \\fIVALUE\\fR", text);
    else
        text = fmt::format("\\fB{}\\fR", text);
    if (argument.repeated)
        text += " ...";
    return argument.required ? text : '[' + text + ']';
}

std::string described(const Argument &argument)
{
    return fmt::format(".TP\n{}\n{}\n", synopsis(argument), roff(argument.help));
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

constexpr char head[] = R"(.TH ESWCTL 1 "" "libesw {0}" "User Commands"
.SH NAME
eswctl \- control a managed Ethernet switch
.SH SYNOPSIS
\fBeswctl\fR [\fIOPTIONS\fR] \fICOMMAND\fR [\fIARGUMENTS\fR]
.SH DESCRIPTION
\fBeswctl\fR shows and changes the settings of a managed 3-port Ethernet switch (ports 0, 1 and 8) through libesw.
Each invocation is one command. Numbers are decimal, or hexadecimal with 0x. What the library itself has to say
appears on standard error.
.SH OPTIONS
Options may stand before or behind the command.
)";

constexpr char tail[] = R"(.SH EXIT STATUS
.TP
.B 0
The command is done.
.TP
.B 1
The switch or the library refused, no switch was found, or the user answered no. A line on standard error names
the reason, with the library's code where it has one.
.TP
.B 2
The command line is wrong. A line on standard error says what is accepted.
.SH FILES
.TP
.I /dev/esw-ctl
The switch's control device. Without it, requests go to the network interface that \fB\-i\fR names.
.TP
.I /dev/shm/vid_list.cfg
Which VLANs exist.
.SH EXAMPLES
.nf
eswctl port show
eswctl \-\-dry\-run port frame\-max 0 9720
esw\-sim eswctl info \-\-json
.fi
.SH SEE ALSO
.BR esw\-sim (1),
.BR esw (3)
)";

std::string page()
{
    std::string text = fmt::format(fmt::runtime(head), ESW_VERSION);
    for (const Argument &option : global_options())
        text += described(option);
    text += ".TP\n[\\fB\\-\\-help\\fR]\nshow help for this level of commands\n"
            ".TP\n[\\fB\\-\\-version\\fR]\nprint the version\n.SH COMMANDS\n";
    for (const Family &family : families()) {
        if (!family.noun.empty())
            text += fmt::format(".SS {}: {}\n", roff(family.noun), roff(family.summary));
        for (const Command &command : family.commands)
            text += command.run ? described(command) : "";
    }
    return text + tail;
}

Report manual(const Arguments &)
{
    Report report{{{"page", page()}}};
    report.text = page();
    return report;
}

} // namespace

Command manual_command()
{
    return {.words = "manual",
            .summary = "Print the manual page eswctl(1) for man -l -",
            .arguments = {},
            .run = manual,
            .offline = true};
}

} // namespace eswctl
