# 64-bit Windows with Debian's MinGW-w64 (the posix thread model, for
# std::thread); the tests run under Wine. The runtime (libgcc, libstdc++,
# winpthread) is linked statically, so the DLL and the test programs need no
# other file beside them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++ -Wl,-Bstatic,--whole-archive -lwinpthread -Wl,--no-whole-archive")
set(CMAKE_CROSSCOMPILING_EMULATOR wine)
# An inline function of a header is compiled into several objects and the
# linker keeps one copy. GCC's interprocedural register allocation lets a
# caller keep values in registers its own copy leaves alone; on Windows,
# where such functions bind locally, the copy kept may clobber them (a
# pointer in rcx became garbage in the direct per-pixel kernel). Without it
# every call follows the ABI, and the code's arithmetic is unchanged.
set(CMAKE_C_FLAGS_INIT "-fno-ipa-ra")
set(CMAKE_CXX_FLAGS_INIT "-fno-ipa-ra")
