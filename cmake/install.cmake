# Installation: libraries, headers, and the files with which find_package(ravenfit) and pkg-config find them.

include(CMakePackageConfigHelpers)

install(TARGETS ravenfit ravenfit_shared vetraDataFitting EXPORT ravenfit-targets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/ravenfit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES README.md LICENSE SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs PATTERN "*.py" EXCLUDE)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.c")

set(RAVENFIT_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ravenfit)
install(EXPORT ravenfit-targets NAMESPACE ravenfit:: DESTINATION ${RAVENFIT_PACKAGE_DIR})
configure_package_config_file(cmake/ravenfit-config.cmake.in ${PROJECT_BINARY_DIR}/ravenfit-config.cmake
                              INSTALL_DESTINATION ${RAVENFIT_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ravenfit-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ravenfit-config.cmake ${PROJECT_BINARY_DIR}/ravenfit-config-version.cmake
        DESTINATION ${RAVENFIT_PACKAGE_DIR})

# Relative to the file itself, so that the tree may be moved.
file(RELATIVE_PATH RAVENFIT_PC_INCLUDEDIR ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(cmake/ravenfit.pc.in ${PROJECT_BINARY_DIR}/ravenfit.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ravenfit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
