# Lays out the library, its header and what finds them; the tools install themselves beside.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

install(TARGETS pinpad
    EXPORT pinpad-targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/api/include/pinpad
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/pinpad)
install(EXPORT pinpad-targets
    FILE pinpad-targets.cmake
    NAMESPACE pinpad::
    DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/packaging/pinpad-config.cmake.in
    ${PROJECT_BINARY_DIR}/pinpad-config.cmake
    INSTALL_DESTINATION ${package_dir}
    NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/pinpad-config-version.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/pinpad-config.cmake
    ${PROJECT_BINARY_DIR}/pinpad-config-version.cmake
    DESTINATION ${package_dir} COMPONENT development)

# Found by its own place, so that a tree that was moved is found, too.
file(RELATIVE_PATH pinpad_pc_prefix
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" pinpad_pc_prefix "${pinpad_pc_prefix}")
configure_file(${PROJECT_SOURCE_DIR}/packaging/pinpad.pc.in
    ${PROJECT_BINARY_DIR}/pinpad.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/pinpad.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(FILES
    ${PROJECT_SOURCE_DIR}/README.md
    ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    ${PROJECT_SOURCE_DIR}/LICENSE
    ${PROJECT_SOURCE_DIR}/THIRD-PARTY.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
    PATTERN CMakeLists.txt EXCLUDE
    PATTERN node_modules EXCLUDE)

if(TARGET pinpad-sim)
    install(TARGETS pinpad-sim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    install(FILES ${PROJECT_SOURCE_DIR}/sim/pinpad-sim.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    install(FILES
        ${PROJECT_SOURCE_DIR}/packaging/60-pinpad.rules
        ${PROJECT_SOURCE_DIR}/packaging/pinpad-sim.service
        DESTINATION ${CMAKE_INSTALL_DATADIR}/pinpad COMPONENT tools)
endif()
