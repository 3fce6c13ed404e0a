# The reference of the headers: `ninja reference` makes it, and so does a whole build where ZORCOMN_DOCS is on.
find_program(ZORCOMN_DOXYGEN doxygen REQUIRED)
set(ZORCOMN_DOCS_WARNINGS FAIL_ON_WARNINGS)
configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
file(GLOB described CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/zorcomn/*.h ${PROJECT_SOURCE_DIR}/examples/*/*.c*)
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/reference/html/index.html
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${PROJECT_BINARY_DIR}/reference
  COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/reference
  COMMAND ${ZORCOMN_DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
  DEPENDS ${described} ${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_SOURCE_DIR}/docs/reference.dox
  COMMENT "Describing the headers" VERBATIM)
add_custom_target(reference ALL DEPENDS ${PROJECT_BINARY_DIR}/reference/html/index.html)
