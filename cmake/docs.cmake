# SPDX-License-Identifier: LGPL-2.1-or-later
# Manual pages and completions, made from what they describe: the public headers, and eswctl's own command tree.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

set(generated ${PROJECT_BINARY_DIR}/generated)
set(manual_script ${PROJECT_SOURCE_DIR}/docs/man/from-headers)
file(GLOB_RECURSE public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/*.h)
add_custom_command(OUTPUT ${generated}/man3/esw.3
    COMMAND Python3::Interpreter ${manual_script} ${PROJECT_SOURCE_DIR}/include ${generated}/man3 ${PROJECT_VERSION}
    DEPENDS ${manual_script} ${public_headers})
set(documents ${generated}/man3/esw.3)
install(DIRECTORY ${generated}/man3 DESTINATION ${CMAKE_INSTALL_MANDIR})

if(ESW_TOOLS)
    foreach(document "manual man1/eswctl.1" "completion bash bash/eswctl" "completion zsh zsh/_eswctl"
            "completion fish fish/eswctl.fish")
        separate_arguments(words UNIX_COMMAND ${document})
        list(POP_BACK words file)
        cmake_path(GET file PARENT_PATH directory)
        file(MAKE_DIRECTORY ${generated}/${directory})
        add_custom_command(OUTPUT ${generated}/${file} COMMAND eswctl ${words} > ${generated}/${file} DEPENDS eswctl)
        list(APPEND documents ${generated}/${file})
    endforeach()
    install(FILES ${generated}/man1/eswctl.1 ${PROJECT_SOURCE_DIR}/docs/man/esw-sim.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${generated}/bash/eswctl DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    # The script completes "esw-sim eswctl ..." too; these two shells look for a file of the command's name.
    install(FILES ${generated}/bash/eswctl DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME esw-sim)
    install(FILES ${generated}/fish/eswctl.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
        RENAME esw-sim.fish)
    install(FILES ${generated}/zsh/_eswctl DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
    install(FILES ${generated}/fish/eswctl.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()
configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
add_custom_target(documents ALL DEPENDS ${documents})
