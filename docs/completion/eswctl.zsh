# SPDX-License-Identifier: LGPL-2.1-or-later
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
