# What the compiler and the linker can do against a fault being exploited, where they have it. For the library and the
# reporter; the tests' own code is built without. tests/package/check_hardening reads the outcome.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
include(CheckPIESupported)

option(ZORCOMN_HARDENING "Stack protector, checked calls, read-only relocations" ON)
set(ZORCOMN_FORTIFY 3 CACHE STRING "Level of the C library's checked calls in optimised builds: 0, 2 or 3")

add_library(zorcomn_hardening INTERFACE)
if(NOT ZORCOMN_HARDENING OR ZORCOMN_SANITIZE)
  return()
endif()
if(ZORCOMN_TOP_LEVEL) # what it finds out holds for the whole of a parent, too
  check_pie_supported(OUTPUT_VARIABLE pie_output LANGUAGES CXX)
endif()

foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "ZORCOMN_HAS${flag}" known)
  set(CMAKE_REQUIRED_FLAGS -Werror)
  check_cxx_compiler_flag(${flag} ${known})
  unset(CMAKE_REQUIRED_FLAGS)
  if(${known})
    target_compile_options(zorcomn_hardening INTERFACE ${flag})
  endif()
endforeach()

# Level 3 is a warning where compiler or C library know only 2. A level among the user's own flags stays.
if(ZORCOMN_FORTIFY AND NOT "${CMAKE_CXX_FLAGS}" MATCHES "_FORTIFY_SOURCE")
  set(level ${ZORCOMN_FORTIFY})
  set(CMAKE_REQUIRED_FLAGS "-O1 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${level}")
  check_cxx_source_compiles("#include <cstring>\nint main() { return 0; }" ZORCOMN_HAS_FORTIFY_${level})
  unset(CMAKE_REQUIRED_FLAGS)
  if(NOT ZORCOMN_HAS_FORTIFY_${level})
    set(level 2)
  endif()
  target_compile_options(zorcomn_hardening INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=${level}>)
endif()

if(NOT APPLE)
  foreach(flag relro now noexecstack text)
    check_linker_flag(CXX -Wl,-z,${flag} ZORCOMN_HAS_Z_${flag})
    if(ZORCOMN_HAS_Z_${flag})
      target_link_options(zorcomn_hardening INTERFACE -Wl,-z,${flag})
    endif()
  endforeach()
endif()
