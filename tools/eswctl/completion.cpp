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

constexpr char walk[] = R"(
# Prints what may stand in place of the last word: on each line an offer, and behind a tab what it is. A line
# without an offer says what is expected. "@file" stands for the names of files. To be called in a subshell.
_eswctl_offers() # TOOL WORDS
{
    set -f
    newline='
'
    IFS=$newline run=$1 prefix=
    shift
    case $run in
    esw-sim | */esw-sim) _eswctl_simulated "$@" ;;
    *) _eswctl_line "$@" ;;
    esac
}

# Looking at the simulated switch must neither reset it nor let its time pass: these options alone are kept.
_eswctl_simulated() # WORDS
{
    while [ $# -gt 1 ]; do
        case $1 in
        --state=* | --device=* | --route=*) run=$run$newline$1 ;;
        --state | --device | --route) run=$run$newline$1$newline$2 && shift ;;
        --reset | --*=*) ;;
        -*) shift ;;
        *) break ;;
        esac
        shift
    done
    if [ $# -gt 1 ] && [ "${1##*/}" = eswctl ]; then
        run=$run$newline$1
        shift
        _eswctl_line "$@"
    else
        [ $# -ne 1 ] || printf 'eswctl\tcontrol the switch\n'
        echo @file
    fi
}

_eswctl_line() # WORDS
{
    place= option= given= position=1
    while [ $# -gt 1 ]; do
        _eswctl_step "$1"
        shift
    done
    case $option/$1 in
    /--*=*) option=${1%%=*} prefix=${1%%=*}= ;;
    esac
    if [ -n "$option" ]; then
        _eswctl_slot "$option" "${1#"$prefix"}"
    elif [ "$1" != "${1#-}" ]; then
        _eswctl_slot option
    elif _eswctl_known "$place|word"; then
        [ $position -gt 1 ] || _eswctl_slot word
    elif _eswctl_known "$place|$position"; then
        _eswctl_slot $position "$1"
    elif _eswctl_known "$place|more"; then
        _eswctl_slot more "$1"
    else
        _eswctl_slot option
    fi
}

_eswctl_step() # WORD
{
    if [ -n "$option" ]; then
        case $option in
        -i | --interface) run=$run$newline$option$newline$1 ;;
        esac
        option=
        return
    fi
    case $1 in
    --interface=*) run=$run$newline$1 ;;
    esac
    if [ "$1" != "${1#-?}" ]; then
        given="$given|${1%%=*}|"
        if _eswctl_known "$place|$1" || _eswctl_known "-|$1"; then option=$1; fi
    elif [ $position = 1 ] && _eswctl_known "$place|word|$1"; then
        place="$place $1"
    else
        position=$((position + 1))
    fi
}

_eswctl_known() # START OF A ROW
{
    case $_eswctl_table in
    *"$newline$1|"*) return 0 ;;
    esac
    return 1
}

_eswctl_slot() # SLOT VALUE
{
    slot=$1
    case ${2-} in
    *,*) slot=$slot, prefix=$prefix${2%,*}, ;;
    esac
    for row in $_eswctl_table; do
        case $row in
        "$place|$slot|"* | "-|$slot|"*)
            row=${row#*"|$slot|"}
            _eswctl_row "${row%%"|"*}" "${row#*"|"}"
            ;;
        esac
    done
}

_eswctl_row() # OFFER DESCRIPTION
{
    case $1 in
    '' | @*) printf '\t%s\n' "$2" ;;
    esac
    case $given in
    *"|$1|"*) return ;;
    esac
    for offer in $(_eswctl_values "$1"); do
        printf '%s%s\t%s\n' "$prefix" "$offer" "$2"
    done
}

_eswctl_values() # OFFER
{
    case $1 in
    @vlan) _eswctl_numbers vid vlan show ;;
    @cfp) _eswctl_numbers slot cfp show ;;
    @interface) command ls /sys/class/net 2>/dev/null ;;
    @file | [!@]*) printf '%s\n' "$1" ;;
    esac
}

_eswctl_numbers() # MEMBER WORDS
{
    member=$1
    shift
    $run "$@" --json </dev/null 2>/dev/null | tr -d '[:space:]' | grep -o "\"$member\":[0-9]*" |
        cut -d: -f2 | sort -nu
}
)";

constexpr char bash[] = R"(
_eswctl()
{
    local words=() word current prefix rest=${COMP_WORDS[COMP_CWORD]}
    # The shell has taken --width=8 and addresses with colons apart.
    for word in "${COMP_WORDS[@]:0:COMP_CWORD + 1}"; do
        if [[ ${#words[@]} -gt 0 && ($word == [:=]* || ${words[-1]} == *[:=]) ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
    done
    current=${words[-1]}
    [[ $rest != [:=]* ]] || rest=
    prefix=${current%"$rest"}
    COMPREPLY=()
    while IFS= read -r word; do
        word=${word%%$'\t'*}
        case $word in
        '') ;;
        *@file) _eswctl_files "${word%@file}" ;;
        "$current"*) COMPREPLY+=("${word#"$prefix"}") ;;
        esac
    done < <(_eswctl_offers "${words[@]}")
}

_eswctl_files() # OPTION=
{
    local file
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do
        file=$1$file
        COMPREPLY+=("${file#"$prefix"}")
    done < <(compgen -f -- "${current#"$1"}")
}

complete -o nosort -F _eswctl eswctl esw-sim
)";

constexpr char zsh[] = R"(
_eswctl()
{
    local -a offers described given=("${(@Q)words[1,CURRENT-1]}" "${(Q)PREFIX}")
    local -aU helps
    local line help hint expl result=1
    for line in "${(@f)$(emulate sh; _eswctl_offers "${given[@]}")}"; do
        help=${line#*$'\t'} line=${line%%$'\t'*}
        case $line in
        '') hint=$help ;;
        *@file) compset -P "${(b)line%@file}"; _files && result=0 ;;
        *) offers+=("$line") helps+=("$help") described+=("${line//:/\\:}:$help") ;;
        esac
    done
    if (( $#helps > 1 )); then
        _describe -V 'command or option' described && result=0
    elif (( $#offers )); then
        _wanted -V values expl "$helps" compadd -a offers && result=0
    elif [[ -n $hint ]]; then
        _message -e values "$hint"
    fi
    return result
}

if [[ $funcstack[1] == _eswctl ]]; then
    _eswctl "$@"
elif (( $+functions[compdef] )); then
    compdef _eswctl eswctl esw-sim
fi
)";

constexpr char fish[] = R"(
function __eswctl_offers
    set -l current (commandline -ct)
    for line in (sh -c $__eswctl_walk sh (commandline -opc) "$current")
        set -l offer (string split -m 1 \t -- $line)[1]
        switch $offer
            case ''
            case '*@file'
                set -l prefix (string replace -r '@file$' '' -- $offer)
                set -l begun (string sub -s (math 1 + (string length -- "$prefix")) -- "$current")
                printf '%s\n' "$prefix"(__fish_complete_path "$begun")
            case '*'
                echo $line
        end
    end
end

for tool in eswctl esw-sim
    complete -c $tool -f -k -a '(__eswctl_offers)'
end
)";

std::string script_for(const std::string &shell)
{
    const std::string head =
        fmt::format("# {0} completion for eswctl; made by \"eswctl completion {0}\".\n", shell);
    if (shell == "fish") {
        const std::string code =
            "_eswctl_table=" + quoted('\n' + table(), false) + walk + "_eswctl_offers \"$@\"\n";
        return head + "set -g __eswctl_walk " + quoted(code, true) + '\n' + fish;
    }
    const std::string code = "\n_eswctl_table=" + quoted('\n' + table(), false) + '\n' + walk;
    return shell == "bash" ? head + code + bash : "#compdef eswctl esw-sim\n" + head + code + zsh;
}

Report completion(const Arguments &arguments)
{
    const auto shell = arguments["SHELL"].get<std::string>();
    const std::string script = script_for(shell);
    Report report{{{"shell", shell}, {"script", script}}};
    report.text = script;
    return report;
}

} // namespace

Command completion_command()
{
    return {.words = "completion",
            .summary = "Print a completion script for a shell",
            .arguments = {{"SHELL", "bash, zsh or fish", choice({"bash", "zsh", "fish"}), true}},
            .run = completion,
            .offline = true};
}

} // namespace eswctl
