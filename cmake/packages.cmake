# `cpack -G DEB` makes one Debian package of each component; scripts/build-packages builds them as Debian does and checks
# them. The library's own package is named for its soname.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zorcomn)
set(CPACK_PACKAGE_VENDOR "")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development tools documentation)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(library libzorcomn${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(same "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(ZORCOMN_MAINTAINER "libzorcomn maintainers <maintainers@zorcomn.invalid>" CACHE STRING
  "Whom the packages name as their maintainer: name <mail address>")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ZORCOMN_MAINTAINER}")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "common runtime library of an endpoint management agent
Code that was written against the Windows API (handles and waits, threads,
files, directory searches, dynamic libraries, locks) runs with it on a POSIX
system, and it gathers the machine facts that the agent reports.")
# Its dependencies are looked up by debian/papers.cmake.in: where cpack does that, it adds scripts that call ldconfig, which
# is a trigger's task.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_BINARY_DIR}/packages/triggers ${CMAKE_CURRENT_BINARY_DIR}/packages/shlibs)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/packages/triggers "activate-noawait ldconfig\n")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/packages/shlibs
  "libzorcomn ${PROJECT_VERSION_MAJOR} ${library} (>= ${PROJECT_VERSION})\n")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzorcomn-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} ${same}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS zorcomn-doc)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "common runtime library of an endpoint management agent - headers
Headers, CMake package and pkg-config file for building programs on
libzorcomn.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zorprops)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library} ${same}")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR})
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "reporter of machine facts on libzorcomn
Reports this machine as text or JSON: operating system, processor, memory,
network, users, disks; every property that the agent knows, or one by name.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME zorcomn-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "common runtime library of an endpoint management agent - documentation
Reference of the headers, tutorial, architecture and the examples of
libzorcomn.")

# Every package carries the changelogs and what is known about its copyright.
set(ZORCOMN_PACKAGES runtime=${library} development=libzorcomn-dev tools=zorprops documentation=zorcomn-doc)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/papers.cmake.in packages/papers.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_BINARY_DIR}/packages/papers.cmake)

include(CPack)
