#!/bin/bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Installs the Debian packages in a fresh root, uses them as their users do, and purges them without a trace.
# Usage: debs.sh DIRECTORY_OF_PACKAGES (as root)
set -euo pipefail
packages=$(cd "$1" && pwd)
source=$(cd "$(dirname "$0")/../.." && pwd)
cache=$source/build/deb/root.tar
scratch=$(mktemp -d)
root=$scratch/root
trap 'umount "$root/proc" 2>/dev/null || true; rm -rf "$scratch"' EXIT
fail() { echo "debs: $*" >&2; exit 1; }
inside() { DEBIAN_FRONTEND=noninteractive HOME=/tmp chroot "$root" "$@"; }

if [ ! -s "$cache" ]; then
    mirrors=(/etc/apt/sources.list /etc/apt/sources.list.d/debian.sources)
    for mirror in "${mirrors[@]}"; do [ ! -s "$mirror" ] || break; done
    # What the packages depend on is there before, so that purging them leaves nothing else behind.
    mmdebstrap --quiet --variant=minbase --include=gcc,libc6-dev,pkg-config,adduser,libfmt9,file bookworm \
        "$cache.part" "$mirror" --format=tar
    mv "$cache.part" "$cache"
fi
mkdir "$root"
tar -x -C "$root" -f "$cache"
mount -t proc proc "$root/proc"
contents() { (cd "$root" && find . -xdev -path ./proc -prune -o -path ./var/log -prune -o -path ./var/cache -prune -o \
    -path ./var/lib/dpkg -prune -o -path ./run/adduser -prune -o -path './etc/*-' -prune -o -print | sort); }

before=$(contents)
mkdir "$root/debs"
cp "$packages"/*.deb "$root/debs"
rm -f "$root"/debs/*-dbgsym_*.deb
inside sh -c 'dpkg -i /debs/*.deb' > "$scratch/log" || { cat "$scratch/log"; fail "the packages don't install"; }
inside getent group esw > /dev/null || fail "no group"

cp "$source/tests/package/app.c" "$root/app.c"
inside sh -c 'cc -Wall -Werror /app.c $(pkg-config --cflags --libs esw) -o /app && esw-sim /app' || fail "the C program"
tour=$(inside esw-sim --reset sh -c 'eswctl vlan create 10,20-21 && eswctl vlan add 10 0,8 untagged 0 && eswctl vlan show')
grep -qE '^ *10 +0,8 +0$' <<< "$tour" || fail "the tour: $tour"
inside sh -c 'test -s /usr/share/man/man1/eswctl.1.gz && test -s /usr/share/man/man3/esw.3.gz &&
    test -s /usr/share/eswctl/schema/vlan.schema.json && test -s /usr/share/bash-completion/completions/eswctl' ||
    fail "pages, schemas or completion are missing"
[ "$(stat -c %s "$root/usr/share/eswctl/vid_list.cfg")" -eq 4096 ] || fail "the fresh VLAN list"

names=$(cd "$root/debs" && for deb in *.deb; do echo "${deb%%_*}"; done)
rm -r "$root/debs" "$root/app" "$root/app.c" "$root"/tmp/* "$root"/tmp/.[!.]* 2>/dev/null || true
# shellcheck disable=SC2086
inside dpkg --purge $names > "$scratch/log" 2>&1 || { cat "$scratch/log"; fail "the packages can't be purged"; }
diff <(echo "$before") <(contents) || fail "purging leaves traces"
! inside getent group esw > /dev/null || fail "the group stays"
echo "debs: installed, used and purged"
