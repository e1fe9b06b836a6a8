# Installation: libraries, headers, and the files with which find_package(raven) and pkg-config find them.

include(CMakePackageConfigHelpers)

install(TARGETS raven raven_shared vetraDataFitting EXPORT raven-targets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/raven DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs PATTERN "*.py" EXCLUDE)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.c")

set(RAVEN_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/raven)
install(EXPORT raven-targets NAMESPACE raven:: DESTINATION ${RAVEN_PACKAGE_DIR})
configure_package_config_file(cmake/raven-config.cmake.in ${PROJECT_BINARY_DIR}/raven-config.cmake
                              INSTALL_DESTINATION ${RAVEN_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/raven-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/raven-config.cmake ${PROJECT_BINARY_DIR}/raven-config-version.cmake
        DESTINATION ${RAVEN_PACKAGE_DIR})

# Relative to the file itself, so that the tree may be moved.
file(RELATIVE_PATH RAVEN_PC_INCLUDEDIR ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(cmake/raven.pc.in ${PROJECT_BINARY_DIR}/raven.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/raven.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
