# SPDX-License-Identifier: LGPL-2.1-or-later
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
