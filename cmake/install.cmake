# Installation: libraries, headers, and the files with which find_package(ravenfit) and pkg-config find them. What is
# installed belongs to one of the packages: runtime, development or demo.

include(CMakePackageConfigHelpers)

set(RAVENFIT_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ravenfit)

# ravenfit_install(TARGET COMPONENT PACKAGE LINK_PACKAGE): TARGET is the component of that name for find_package; what
# is needed to link with a shared library goes to LINK_PACKAGE.
function(ravenfit_install target component package link_package)
  install(TARGETS ${target} EXPORT ravenfit-${component}
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${link_package}
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${package} NAMELINK_COMPONENT ${link_package}
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${package})
  install(EXPORT ravenfit-${component} FILE ravenfit-${component}-targets.cmake NAMESPACE ravenfit::
          DESTINATION ${RAVENFIT_PACKAGE_DIR} COMPONENT ${link_package})
endfunction()

ravenfit_install(ravenfit static development development)
ravenfit_install(ravenfit_shared shared runtime development)
if(RAVENFIT_BUILD_DEMO)
  ravenfit_install(vetraDataFitting demo demo demo)
endif()

configure_package_config_file(cmake/ravenfit-config.cmake.in ${PROJECT_BINARY_DIR}/ravenfit-config.cmake
                              INSTALL_DESTINATION ${RAVENFIT_PACKAGE_DIR}
                              PATH_VARS CMAKE_INSTALL_INCLUDEDIR)
# As the name of the shared library has it, versions of one major number are compatible.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ravenfit-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)

# Relative to the file itself, so that the tree may be moved.
file(RELATIVE_PATH RAVENFIT_PC_INCLUDEDIR ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(cmake/ravenfit.pc.in ${PROJECT_BINARY_DIR}/ravenfit.pc @ONLY)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(DIRECTORY include/ravenfit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES README.md LICENSE SECURITY.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs PATTERN "*.py" EXCLUDE)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.c" PATTERN "*.cpp")
install(FILES ${PROJECT_BINARY_DIR}/ravenfit-config.cmake ${PROJECT_BINARY_DIR}/ravenfit-config-version.cmake
        DESTINATION ${RAVENFIT_PACKAGE_DIR})
install(FILES ${PROJECT_BINARY_DIR}/ravenfit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
