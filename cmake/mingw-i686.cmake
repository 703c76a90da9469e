# Cross compilation for 32-bit Windows with the posix-threaded mingw-w64 compiler.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# Where the compiler's run-time DLLs live; they are copied beside every program.
set(OSKAL_MINGW_RUNTIME_DLLS
    /usr/lib/gcc/i686-w64-mingw32/12-posix/libgcc_s_dw2-1.dll
    /usr/lib/gcc/i686-w64-mingw32/12-posix/libstdc++-6.dll
    /usr/i686-w64-mingw32/lib/libwinpthread-1.dll)
