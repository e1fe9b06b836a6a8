# CPack: Debian packages from a Linux build, one zip from a Windows one.

set(CPACK_PACKAGE_NAME ravenfit)
set(CPACK_PACKAGE_VENDOR "The Ravenfit authors")
set(CPACK_PACKAGE_CONTACT "The Ravenfit authors <maintainers@ravenfit.invalid>") # packages must have an address
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_SYSTEM_NAME win32)
  include(CPack)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENTS_ALL)

set(revision ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)

# debian_package(COMPONENT NAME SECTION CONTENT [LIBRARY]): a package with the papers that Debian asks for. With a
# shared library it tells what programs linked with LIBRARY depend on, and has the loader's cache renewed.
macro(debian_package component name section content)
  string(TOUPPER ${component} upper)
  set(papers ${PROJECT_BINARY_DIR}/debian/${name})
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "Splines through millions of points, random streams, and a tridiagonal solver
without pivots, in nine builds from SSE2 to AVX2.
.
This package has the ${content}.")
  file(CONFIGURE OUTPUT ${papers}/changelog.Debian @ONLY CONTENT "${name} (${revision}) unstable; urgency=medium

  * See the changes of version ${PROJECT_VERSION}.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  execute_process(COMMAND gzip -9nf ${papers}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${papers}/changelog.Debian.gz DESTINATION share/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES LICENSE DESTINATION share/doc/${name} RENAME copyright COMPONENT ${component} EXCLUDE_FROM_ALL)
  if(${ARGC} GREATER 4)
    file(CONFIGURE OUTPUT ${papers}/shlibs @ONLY
         CONTENT "${ARGV4} ${PROJECT_VERSION_MAJOR} ${name} (>= ${PROJECT_VERSION})\n")
    file(CONFIGURE OUTPUT ${papers}/triggers @ONLY CONTENT "activate-noawait ldconfig\n")
    set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA ${papers}/shlibs ${papers}/triggers)
  endif()
endmacro()

set(soname libravenfit${PROJECT_VERSION_MAJOR})
debian_package(runtime ${soname} libs "shared library" libravenfit)
debian_package(development libravenfit-dev libdevel "headers and static library")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${soname} (= ${revision})")
if(RAVENFIT_BUILD_DEMO)
  debian_package(demo vetra-data-fitting libs "library of demonstrations" libvetraDataFitting)
  set(CPACK_DEBIAN_DEMO_PACKAGE_RECOMMENDS libravenfit-dev)
endif()
if(TARGET ravenfit_command)
  debian_package(command ravenfit math "command, for tables in files")
  set(CPACK_DEBIAN_COMMAND_PACKAGE_RECOMMENDS gnuplot-nox)
endif()
include(CPack)
