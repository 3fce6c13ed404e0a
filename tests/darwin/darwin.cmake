# What makes the tests ones for Darwin; what runs them where that is not the system at hand is in README.md.
add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:SHELL:-include ${CMAKE_CURRENT_LIST_DIR}/not_possible_here.h>")

# zorcomn_import_wrapped(TARGET NAME...): links against a stub library that has __real_NAME of each,
# and of those of earlier calls.
function(zorcomn_import_wrapped target)
  set_property(TARGET ${target} APPEND PROPERTY ZORCOMN_WRAPPED ${ARGN})
  get_target_property(names ${target} ZORCOMN_WRAPPED)
  list(TRANSFORM names PREPEND "___real_" OUTPUT_VARIABLE symbols)
  list(JOIN symbols ", " symbols)
  set(stub ${CMAKE_CURRENT_BINARY_DIR}/lib${target}_wrapped.tbd)
  set(targets "[ x86_64-macos, arm64-macos ]")
  file(CONFIGURE OUTPUT ${stub} CONTENT "--- !tapi-tbd
tbd-version: 4
targets: @targets@
install-name: '/wrapped'
exports:
  - targets: @targets@
    symbols: [ @symbols@ ]
...
" @ONLY)
  target_link_libraries(${target} PRIVATE ${stub})
endfunction()

# The reporter's tests run on a machine that has what every Darwin has; where that is not so, it is made up.
if(CMAKE_CROSSCOMPILING)
  set(ZORCOMN_REPORTER_TEST_PROPERTIES ENVIRONMENT MACHO_ROOT=${CMAKE_CURRENT_LIST_DIR}/machine)
endif()
