# Builds for 64-bit Windows on Debian with the cross compiler mingw-w64, which scripts/windows.sh installs. Programs that
# the build runs are run by Wine. Its threads are those of POSIX, because the standard library has none with the other
# variant of the compiler.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
# Debian installs Wine outside the search path.
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
# The libraries of the compiler are linked statically, so that what is built needs nothing but Windows itself.
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
# Libraries and headers of this machine are not those of Windows.
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
