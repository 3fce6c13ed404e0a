# 32-bit x86 on a 64-bit machine with multilib: the other half of the word-size proof, at full speed.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
# The second option stands in for a link that Debian's gcc-multilib package makes; that package excludes cross compilers.
set(CMAKE_C_FLAGS_INIT "-m32 -idirafter /usr/include/x86_64-linux-gnu")
set(CMAKE_CXX_FLAGS_INIT "-m32 -idirafter /usr/include/x86_64-linux-gnu")
set(CMAKE_CROSSCOMPILING_EMULATOR "")
