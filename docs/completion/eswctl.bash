# SPDX-License-Identifier: LGPL-2.1-or-later
# shellcheck shell=bash
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
