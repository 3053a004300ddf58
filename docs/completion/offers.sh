# SPDX-License-Identifier: LGPL-2.1-or-later
# The walk over the table of offers that all shells share, in the language of sh. Bash and zsh read these as
# their own; fish hands them to sh.
# shellcheck shell=sh
# shellcheck disable=SC2154 # _eswctl_table, which the tool writes before it
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
    simulator=$run
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
    elif [ $# -eq 1 ] && [ "$1" != "${1#-}" ]; then
        # Its help has a line for each option: "  --device TEXT   device ID of the switch; ..."
        $simulator --help </dev/null 2>/dev/null |
            sed -n 's/^  \(-[^ ]*,\)\{0,1\}\(--[a-z-]*\)[^ ]*\( [A-Z][^ ]*\( \.\.\.\)\{0,1\}\)\{0,1\} */\2\t/p'
    else
        [ $# -ne 1 ] || printf 'eswctl\tcontrol the switch\n'
        echo @file
    fi
}

_eswctl_line() # WORDS
{
    place='' option='' given='' position=1
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
        [ "$position" -gt 1 ] || _eswctl_slot word
    elif _eswctl_known "$place|$position"; then
        _eswctl_slot "$position" "$1"
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
    elif [ "$position" = 1 ] && _eswctl_known "$place|word|$1"; then
        place="$place $1"
    else
        position=$((position + 1)) given="$given|$1|"
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
    # What may stand only once: options, and the words between lists of ports.
    case $slot/$1 in
    *,/* | */all | */none | */[0-9@]*) ;;
    option/* | more/*)
        case $given in
        *"|$1|"*) return ;;
        esac
        ;;
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
    $run "$@" --json --wait 1 </dev/null 2>/dev/null | tr -d '[:space:]' | grep -o "\"$member\":[0-9]*" |
        cut -d: -f2 | sort -nu
}
