#!/bin/bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Installs the build, and looks at it as an application's author and a distributor do.
set -euo pipefail
build=$1
sanitized=$2
source=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "package: $*" >&2; exit 1; }

DESTDIR=$scratch cmake --install "$build" --prefix /usr >/dev/null
library=$(find "$scratch" -name 'libesw.so.0.*')
libdir=$(dirname "$library")
[ -L "$libdir/libesw.so" ] && [ -L "$libdir/libesw.so.0" ] || fail "a library link is missing"

# What the library exports, what its export list names and what the headers declare are the same.
exported=$(nm -D --defined-only "$library" | awk '{print $3}' | sort)
listed=$(sed 's/#.*//' "$source/core/exports.map" | grep -oE '[A-Za-z_0-9]+;' | tr -d ';' | sort)
declared=$(cat "$scratch"/usr/include/esw/*.h | gcc -fpreprocessed -dD -E -P - 2>/dev/null |
    grep -oE '\b(esw_|eth_|ethHw_|ethCfp|init_vid_list|get_vid|set_vid|gESWID|gFd|gSocket)[A-Za-z_0-9]*' |
    grep -vE '_t$|^ESW' | sort -u)
diff <(echo "$exported") <(echo "$listed") || fail "exports differ from the export list"
diff <(echo "$declared") <(echo "$listed") || fail "the headers differ from the export list"

# Every exported name stands in a manual page, and the completion scripts are scripts.
manual=$(cat "$scratch"/usr/share/man/man3/*.3)
for name in $listed; do
    grep -qE "^\.B .*\b$name\b" <<< "$manual" || fail "$name has no manual page entry"
    [[ $name =~ ^g[A-Z] || -s $scratch/usr/share/man/man3/$name.3 ]] || fail "man $name finds nothing"
done
[ -s "$scratch/usr/share/man/man1/eswctl.1" ] && [ -s "$scratch/usr/share/man/man1/esw-sim.1" ] || fail "no manual page"
for option in $("$scratch/usr/bin/esw-sim" --help | grep -oE -- '--[a-z][a-z-]+' | sort -u); do
    grep -qF -- "${option//-/\\-}" "$scratch/usr/share/man/man1/esw-sim.1" || fail "esw-sim(1) lacks $option"
done
bash -n "$scratch/usr/share/bash-completion/completions/eswctl"

# All JSON schemas are there, and are schemas.
for schema in "$source"/docs/schema/*.json; do
    python3 -c 'import json, sys, jsonschema; jsonschema.Draft7Validator.check_schema(json.load(open(sys.argv[1])))' \
        "$scratch/usr/share/eswctl/schema/${schema##*/}" || fail "${schema##*/} is missing, or no schema"
done

export PKG_CONFIG_SYSROOT_DIR=$scratch PKG_CONFIG_LIBDIR=$libdir/pkgconfig
warnings="-std=c99 -Wall -Wextra -Wpedantic -Werror"
sanitizers=$([ "$sanitized" = ON ] && echo "-fsanitize=address,undefined" || true)
run() { # program
    ASAN_OPTIONS=verify_asan_link_order=0 LD_LIBRARY_PATH=$libdir \
        "$scratch/usr/bin/esw-sim" --state "$scratch/state" --reset "$1"
}
for pie in -no-pie -pie; do
    # shellcheck disable=SC2046,SC2086
    cc $warnings $pie $([ "$pie" = -pie ] && echo -fPIE || echo -fno-pie) $sanitizers "$source/tests/package/app.c" \
        -o "$scratch/app" $(pkg-config --cflags --libs esw)
    [ "$(run "$scratch/app")" = fine ] || fail "the application ($pie) does not work"
done

mkdir "$scratch/cmake-app"
cp "$source/tests/package/app.c" "$scratch/cmake-app/"
cat > "$scratch/cmake-app/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(app C)
find_package(esw 0.1 REQUIRED)
add_executable(app app.c)
target_compile_options(app PRIVATE $sanitizers)
target_link_options(app PRIVATE $sanitizers)
target_link_libraries(app PRIVATE esw::esw)
CMAKE
cmake -S "$scratch/cmake-app" -B "$scratch/cmake-app" -DCMAKE_PREFIX_PATH="$scratch/usr" >/dev/null
cmake --build "$scratch/cmake-app" >/dev/null
[ "$(run "$scratch/cmake-app/app")" = fine ] || fail "the CMake application does not work"

# A C++ application must not see more than a C one.
echo '#include <esw.h>
int main() { return esw_exit() + 1; }' | c++ -x c++ -std=c++11 -Wall -Wextra -Wpedantic -Werror -fsyntax-only \
    "-I$scratch/usr/include" -

[ "$sanitized" = ON ] && exit 0

strip -o "$scratch/stripped" "$library"
"$source/tests/package/library" "$scratch/stripped"
preload=$(readelf -d "$libdir/libesw-sim.so" | grep -oP 'NEEDED.*\[\K[^]]+')
[ "$preload" = libc.so.6 ] || fail "the preload library needs $preload"
