# SPDX-License-Identifier: LGPL-2.1-or-later
# Builds library and simulated switch for musl on Debian, which has musl for C only (package musl-tools). Both need
# nothing of the C++ runtime but header-only parts; these flags put musl's headers and library below them.
# Use a complete toolchain, an OpenWrt SDK for example, as it is: it needs nothing of this.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

execute_process(COMMAND g++ -print-multiarch OUTPUT_VARIABLE multiarch OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND g++ -dumpversion OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND g++ -print-file-name=include OUTPUT_VARIABLE own OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE linux-gnu linux-musl musl ${multiarch})

# The kernel's headers without those of glibc.
set(kernel_headers ${CMAKE_BINARY_DIR}/kernel-headers)
file(MAKE_DIRECTORY ${kernel_headers})
foreach(headers linux asm-generic ${multiarch}/asm)
    cmake_path(GET headers FILENAME name)
    file(CREATE_LINK /usr/include/${headers} ${kernel_headers}/${name} SYMBOLIC)
endforeach()

# Debian's libstdc++ was configured for glibc: what its headers name beyond musl, and nobody here calls.
set(shim ${CMAKE_BINARY_DIR}/glibc-names.h)
file(WRITE ${shim} "#define __GLIBC_PREREQ(a, b) 0\n#define __locale_t locale_t\n"
    "#include <pthread.h>\nextern \"C\" int pthread_cond_clockwait(pthread_cond_t *, pthread_mutex_t *, clockid_t, "
    "const struct timespec *);\n")

set(CMAKE_C_FLAGS_INIT "-idirafter ${kernel_headers}")
string(JOIN " " CMAKE_CXX_FLAGS_INIT -nostdinc -nostdinc++ -isystem /usr/include/c++/${version}
    -isystem /usr/include/${multiarch}/c++/${version} -isystem /usr/include/${musl} -isystem ${own}
    -idirafter ${kernel_headers} -include ${shim})
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-nostartfiles -L/usr/lib/${musl}")
