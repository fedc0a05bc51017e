# Installing the library, its public headers and the CLI, with a CMake
# package (find_package(quorvix) gives quorvix::quorvix), a pkg-config file,
# the man page and the bash completion; and the Debian package built from
# the same rules by CPack ("cpack -G DEB" in the build directory).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(QUORVIX_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/quorvix)

# Installed hosts compile against include/ under the prefix, not the tree.
target_include_directories(quorvix PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(quorvix INTERFACE cxx_std_20)
# The CLI finds the library beside it wherever the prefix is moved.
set_target_properties(quorvix_cli PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

install(TARGETS quorvix EXPORT quorvixTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS quorvix_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/quorvix DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/man/quorvix.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_SOURCE_DIR}/tools/completion/quorvix.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME quorvix)

install(EXPORT quorvixTargets NAMESPACE quorvix:: DESTINATION ${QUORVIX_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/quorvixConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/quorvixConfig.cmake
                              INSTALL_DESTINATION ${QUORVIX_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quorvixConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quorvixConfig.cmake
              ${PROJECT_BINARY_DIR}/quorvixConfigVersion.cmake
        DESTINATION ${QUORVIX_CMAKE_DIR})

# pkg-config paths are relative to the prefix the file is installed under,
# so a moved tree (or the .deb's /usr) stays right.
file(RELATIVE_PATH QUORVIX_PC_PREFIX_FROM_PCDIR /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" QUORVIX_PC_PREFIX_FROM_PCDIR "${QUORVIX_PC_PREFIX_FROM_PCDIR}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/quorvix.pc.in ${PROJECT_BINARY_DIR}/quorvix.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quorvix.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The Debian package: one package with the library, the CLI, the headers,
# the man page and the completion. Its Depends come from dpkg-shlibdeps on
# what the installed binaries really link.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvix)
set(CPACK_PACKAGE_VENDOR "quorvix")
set(CPACK_PACKAGE_CONTACT "quorvix developers <quorvix@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "template and math expression languages: library and CLI")
set(CPACK_PACKAGE_DESCRIPTION
    "libquorvix gives a host program a template language and a math expression language; \
the quorvix command fills templates, evaluates expressions and runs design studies.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# dpkg-shlibdeps must find our own library in the package being built.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
# The debugging information of a RelWithDebInfo build stays out of the package.
set(CPACK_STRIP_FILES ON)
include(CPack)
