# What `cmake --install` lays out: headers, library, CMake package, pkg-config file; zorprops installs itself.
include(CMakePackageConfigHelpers)

install(TARGETS zorcomn EXPORT zorcomnTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zorcomn DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/zorcomn)
install(EXPORT zorcomnTargets NAMESPACE zorcomn:: DESTINATION ${package_folder})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/zorcomnConfig.cmake.in zorcomnConfig.cmake
  INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(zorcomnConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zorcomnConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/zorcomnConfigVersion.cmake
  DESTINATION ${package_folder})

# An absolute install folder is taken as it is, a relative one hangs below the prefix.
foreach(kind LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(PC_${kind} "${CMAKE_INSTALL_${kind}}")
  else()
    set(PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
# Written while installing, since --prefix may differ from what was configured.
install(CODE "
  set(PC_LIBDIR [[${PC_LIBDIR}]])
  set(PC_INCLUDEDIR [[${PC_INCLUDEDIR}]])
  set(PROJECT_VERSION ${PROJECT_VERSION})
  configure_file([[${CMAKE_CURRENT_LIST_DIR}/zorcomn.pc.in]] [[${CMAKE_CURRENT_BINARY_DIR}/zorcomn.pc]] @ONLY)")
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zorcomn.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
