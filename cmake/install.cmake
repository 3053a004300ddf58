# SPDX-License-Identifier: LGPL-2.1-or-later
include(CMakePackageConfigHelpers)

install(TARGETS esw EXPORT esw_targets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(ESW_TOOLS)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/schema DESTINATION ${CMAKE_INSTALL_DATADIR}/eswctl)
endif()
install(TARGETS esw-sim-preload LIBRARY DESTINATION ${ESW_PRELOAD_DIR})

file(RELATIVE_PATH prefix_from_pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/esw.pc.in esw.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/esw.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/esw)
install(EXPORT esw_targets FILE esw-config.cmake NAMESPACE esw:: DESTINATION ${package_dir})
write_basic_package_version_file(esw-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/esw-config-version.cmake DESTINATION ${package_dir})
