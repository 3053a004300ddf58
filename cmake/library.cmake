# SPDX-License-Identifier: LGPL-2.1-or-later
include(CheckCXXCompilerFlag)

file(GLOB esw_sources CONFIGURE_DEPENDS core/*.cpp port/*.cpp l2/*.cpp control/*.cpp mirror/*.cpp vlan/*.cpp qos/*.cpp
    stat/*.cpp cfp/*.cpp)
set(esw_exports ${PROJECT_SOURCE_DIR}/core/exports.map)

add_library(esw SHARED ${esw_sources})
add_library(esw::esw ALIAS esw)
target_include_directories(esw PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
    PRIVATE ${PROJECT_SOURCE_DIR})
set_target_properties(esw PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0 CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON LINK_DEPENDS ${esw_exports})
target_link_libraries(esw PRIVATE $<BUILD_INTERFACE:esw_warnings>)

# Nothing throws through the library, so it carries no unwind tables: they would be a quarter of it.
# Functions bind locally; the exported globals stay preemptible, for executables that hold them by copy relocation.
# No fortified or 64-bit aliases: preloaded layers stand in for the plain names.
target_compile_options(esw PRIVATE -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-semantic-interposition
    -U_FORTIFY_SOURCE -fno-asynchronous-unwind-tables -fno-unwind-tables -fomit-frame-pointer
    -ffunction-sections -fdata-sections)
target_link_options(esw PRIVATE LINKER:--version-script=${esw_exports} LINKER:-Bsymbolic-functions
    LINKER:--gc-sections LINKER:-z,noseparate-code)

# Hardened where it costs little. The plain stack protector guards the few functions that have arrays; the strong one
# would add 1 KiB for functions that only hand the address of a number on. Pointer authentication and branch targets
# guard every return on arm64, for 8 % of the code. Their counterpart on x86-64 (CET) would add 5 %, and Linux enables
# it for no Debian program.
set(CMAKE_REQUIRED_FLAGS -Werror)
foreach(flag -fstack-protector -mbranch-protection=standard -fcf-protection=none)
    string(MAKE_C_IDENTIFIER "ESW_HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
        target_compile_options(esw PRIVATE ${flag})
    endif()
endforeach()
target_link_options(esw PRIVATE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)

# Small: each of these costs no time that a driver request would notice. A compiler does without those it lacks.
foreach(flag -Os -Oz -fno-caller-saves -fno-move-loop-invariants -fno-shrink-wrap)
    string(MAKE_C_IDENTIFIER "ESW_HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
        target_compile_options(esw PRIVATE $<$<NOT:$<CONFIG:Debug>>:${flag}>)
    endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)

# Libc only, and nothing that runs when the library is loaded or unloaded, but for a sanitizer's own runtime.
# Debian's start files also lack the arm64 mark that turns branch target checks on.
if(NOT ESW_SANITIZE)
    target_link_options(esw PRIVATE -nostartfiles -nodefaultlibs LINKER:-z,defs)
    target_link_libraries(esw PRIVATE c)
endif()

# arm64 kernels have pages of 4 to 64 KiB. GNU ld ends what is read-only after relocation with the largest page, by as
# much padding in the file: 67 KiB for a library of 40. Weighed: pages declared as 4 KiB (does not load on a kernel with
# larger ones), a smaller common page size (the same padding), no read-only relocations (a writable GOT). A layout of our
# own pads in memory instead of in the file.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL aarch64 AND CMAKE_CXX_COMPILER_ID STREQUAL GNU AND NOT ESW_SANITIZE)
    set(layout ${PROJECT_SOURCE_DIR}/cmake/large-pages.ld)
    target_link_options(esw PRIVATE LINKER:-T,${layout})
    set_property(TARGET esw APPEND PROPERTY LINK_DEPENDS ${layout})
endif()
