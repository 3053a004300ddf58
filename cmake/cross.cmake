# SPDX-License-Identifier: LGPL-2.1-or-later
# Where a cross build finds its packages. The headers of most are the same on every machine, but stand beside the
# build machine's own in /usr/include: they are linked into a folder of their own. {fmt} is used without its library,
# and GoogleTest is built from Debian's copy of its sources.
set(portable_headers ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${portable_headers})
foreach(folder CLI fmt nlohmann valijson)
    file(CREATE_LINK /usr/include/${folder} ${portable_headers}/${folder} SYMBOLIC)
endforeach()

function(provide_headers target)
    if(NOT TARGET ${target})
        add_library(${target} INTERFACE IMPORTED GLOBAL)
        target_include_directories(${target} SYSTEM INTERFACE ${portable_headers})
        target_compile_definitions(${target} INTERFACE ${ARGN})
    endif()
endfunction()

macro(provide_package method name)
    if("${name}" STREQUAL "fmt")
        provide_headers(fmt::fmt FMT_HEADER_ONLY)
        set(fmt_FOUND TRUE)
    elseif("${name}" STREQUAL "CLI11" OR "${name}" STREQUAL "nlohmann_json")
        provide_headers(${name}::${name})
        set(${name}_FOUND TRUE)
    elseif("${name}" STREQUAL "GTest")
        set(INSTALL_GTEST OFF)
        add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
        set(GTest_FOUND TRUE)
    endif()
endmacro()
cmake_language(SET_DEPENDENCY_PROVIDER provide_package SUPPORTED_METHODS FIND_PACKAGE)
