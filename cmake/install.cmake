# What `cmake --install` lays out, in four components: runtime (the shared library), development (headers, link, CMake
# package, pkg-config file, static library), tools (zorprops installs itself), documentation.
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/zorcomn)
install(TARGETS zorcomn EXPORT zorcomnTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zorcomn DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT zorcomnTargets NAMESPACE zorcomn:: DESTINATION ${package_folder} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/zorcomnConfig.cmake.in zorcomnConfig.cmake
  INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(zorcomnConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zorcomnConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/zorcomnConfigVersion.cmake
  DESTINATION ${package_folder} COMPONENT development)

# An absolute install folder is taken as it is, a relative one hangs below the prefix.
foreach(folder LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
    set(PC_${folder} "${CMAKE_INSTALL_${folder}}")
  else()
    set(PC_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
  endif()
endforeach()
# What a program needs besides a static library; a shared one brings it along.
set(PC_BEYOND "")
if(kind STREQUAL STATIC)
  set(PC_BEYOND " ${CMAKE_DL_LIBS}")
  list(TRANSFORM CMAKE_CXX_IMPLICIT_LINK_LIBRARIES REPLACE "^" " -l" OUTPUT_VARIABLE implicit)
  list(FILTER implicit INCLUDE REGEX "c\\+\\+|-lm$")
  list(REMOVE_DUPLICATES implicit)
  string(REPLACE " " " -l" PC_BEYOND "${PC_BEYOND}")
  string(REPLACE ";" "" implicit "${implicit}")
  set(PC_BEYOND "${PC_BEYOND}${implicit}")
endif()
# Written while installing, since --prefix may differ from what was configured.
install(CODE "
  set(PC_LIBDIR [[${PC_LIBDIR}]])
  set(PC_INCLUDEDIR [[${PC_INCLUDEDIR}]])
  set(PC_BEYOND [[${PC_BEYOND}]])
  set(PROJECT_VERSION ${PROJECT_VERSION})
  configure_file([[${CMAKE_CURRENT_LIST_DIR}/zorcomn.pc.in]] [[${CMAKE_CURRENT_BINARY_DIR}/zorcomn.pc]] @ONLY)"
  COMPONENT development)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zorcomn.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/zorcomn-doc)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${documents} COMPONENT documentation
  FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${documents} COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${documents} COMPONENT documentation)
if(ZORCOMN_DOCS)
  install(DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/reference/html/ DESTINATION ${documents}/html COMPONENT documentation)
endif()

# Removes what the last installation from this folder has laid out, and the folders that are empty then.
configure_file(${CMAKE_CURRENT_LIST_DIR}/uninstall.cmake.in uninstall.cmake @ONLY)
add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -P ${CMAKE_CURRENT_BINARY_DIR}/uninstall.cmake VERBATIM)
