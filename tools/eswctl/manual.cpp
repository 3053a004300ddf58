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

constexpr char head[] = R"(.TH ESWCTL 1 "" "libesw {0}" "User Commands"
.SH NAME
eswctl \- control a managed Ethernet switch
.SH SYNOPSIS
\fBeswctl\fR [\fIOPTIONS\fR] \fICOMMAND\fR [\fIARGUMENTS\fR]
.SH DESCRIPTION
\fBeswctl\fR shows and changes the settings of a managed 3-port Ethernet switch (ports 0, 1 and 8) through libesw.
Each invocation is one command. A command that shows prints a table or a list, or that there is nothing to show; one
that changes something prints what it has done. What the library itself has to say appears on standard
error.
.PP
Commands that destroy something ask first. Where there is no terminal to ask on, they need \fB\-\-yes\fR.
.PP
Numbers are decimal, or hexadecimal with 0x. Ports are a list such as 0,8, or all; where nothing follows
them, several words will do. VIDs are a list of
numbers and ranges such as 10\-20,30. A MAC address has colons, hyphens or three groups with dots.
.SH OPTIONS
Options may stand before or behind the command.
)";

constexpr char tail[] = R"(.SH JSON OUTPUT
With \fB\-\-json\fR each command that prints something prints one JSON document on standard output; a command that
goes on for a while prints one a line. Numbers and booleans are such; MAC addresses and register words are strings,
as in "02:00:5e:00:53:01" and "0x00000800"; what does not apply is null. What concerns ports is in an array
\fIports\fR, of objects that begin with \fIport\fR. A command that changes something prints what it has set. On
failure nothing is printed there, but for a batch: its document tells of the lines until then.
.PP
JSON Schema files describe the documents: the family \fINOUN\fR in \fINOUN\fR.schema.json, where the definition of a
command is named by its other words with hyphens between them, and commands of a single word in general.schema.json.
.SH DRY RUN AND TRACE
With \fB\-\-dry\-run\fR reads reach the switch and writes do not, but for the index and the command that read a table's
entry; later reads see what was withheld. In place of its own output the command prints which registers, PHY registers
and files would change, from what to what. The start of the library, which
every command needs, is not part of it.
.PP
With \fB\-\-trace\fR each request to the driver is a line on standard error: PAGE:OFFSET, the width that was sent,
the value, and the register's name.
.SH SAVED CONFIGURATIONS
\fBeswctl save\fR writes what can be read back from the switch: ports, static addresses, L2 cache, VLANs, QoS,
mirroring, controls and the field processor. \fBeswctl restore\fR changes only what differs, leaves alone what the
document does not name, and prints each change; a restore that was interrupted is completed by another one.
Not part of it are:
@OMITTED@
.SH EXIT STATUS
.TP
.B 0
The command is done.
.TP
.B 1
The switch, its driver or the library refused, no switch was found, or the user answered no. A line on standard
error names the reason: the library's code where it has one, and what it means in that command. What a command did
before it failed stays.
.TP
.B 2
The command line is wrong. A line on standard error says what is accepted.
.TP
.B 3
\fBeswctl diff\fR found something that differs.
.SH FILES
.TP
.I /dev/esw-ctl
The switch's control device. Without it, requests go to the network interface that \fB\-i\fR names.
.TP
.I /run/lock/esw.lock
Each command that talks to the switch holds a lock on this file meanwhile, so that no two of them mix up each other's
requests; a watch holds it only while it looks. In its place
.I /dev/shm/esw.lock
where the directory does not exist.
.TP
.I /dev/shm/vid_list.cfg
Which VLANs exist.
.TP
.I /dev/shm/cfp_rule.cfg
The parked field processor rule.
.TP
.IR PREFIX /share/eswctl/schema
The JSON Schema files.
.SH ENVIRONMENT
.TP
.B TERM
A watch stays in one place of a terminal unless this is unset or dumb.
.TP
.B NO_COLOR
When it is set, nothing but plain lines is printed on terminals, too.
.SH EXAMPLES
.nf
eswctl show
eswctl vlan add 10 0,8 untagged 0
eswctl rate egress set all 100M
eswctl \-\-dry\-run port frame\-max 0 9720
eswctl save before.json && { eswctl batch changes || eswctl restore before.json; }
eswctl arl show \-\-json | jq '.entries[] | select(.static)'
esw\-sim eswctl info \-\-json
.fi
.SH SEE ALSO
.BR esw\-sim (1),
.BR esw (3)
)";

constexpr std::string_view omitted_mark = "@OMITTED@";

std::string page()
{
    std::string text = fmt::format(fmt::runtime(head), ESW_VERSION);
    for (const Argument &option : global_options())
        text += described(option);
    text += ".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nshow help for this level of commands, as \\fBeswctl "
            "help\\fR with the "
            "words of a command does\n"
            ".TP\n\\fB\\-\\-version\\fR\nprint the version\n.SH COMMANDS\n";
    for (const Family *family : families()) {
        if (!family->noun.empty())
            text += fmt::format(".SS {}: {}\n", roff(family->noun), roff(family->summary));
        for (const Command &command : family->commands)
            text += command.run ? described(command) : "";
    }
    std::string omitted;
    for (const Omission &omission : omissions())
        omitted += fmt::format("{}{}", omitted.empty() ? "" : ",\n", roff(omission.words));
    return text + std::string(tail).replace(std::string_view(tail).find(omitted_mark), omitted_mark.size(),
                                            omitted + '.');
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
