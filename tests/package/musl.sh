#!/bin/bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# The library that was built for musl: what it needs, and whether a program of that C library can use it.
# Usage: musl.sh BUILD
set -euo pipefail
build=$1
source=$(cd "$(dirname "$0")/../.." && pwd)
fail() { echo "musl: $*" >&2; exit 1; }

needed=$(readelf -d "$build/lib/libesw.so.0" | grep -oP 'NEEDED.*\[\K[^]]+')
[ "$needed" = libc.so ] || fail "the library needs $needed"
musl-gcc -std=c99 -Wall -Wextra -Werror -rdynamic "$source/tests/package/musl_app.c" -o "$build/app" \
    -I"$source/include" -idirafter "$build/kernel-headers" -L"$build/lib" -lesw -Wl,-rpath,"$build/lib"
"$build/app" || fail "the program does not work"
