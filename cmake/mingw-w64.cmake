# Cross build for Windows with MinGW-w64. MLIB_MINGW_ARCH selects i686 or x86_64 (default).
set(CMAKE_SYSTEM_NAME Windows)
if(NOT MLIB_MINGW_ARCH)
  set(MLIB_MINGW_ARCH x86_64)
endif()
set(CMAKE_SYSTEM_PROCESSOR ${MLIB_MINGW_ARCH})
set(mlib_triple ${MLIB_MINGW_ARCH}-w64-mingw32)

# The posix-threads flavour: std::thread and std::mutex need it.
set(CMAKE_C_COMPILER ${mlib_triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${mlib_triple}-g++-posix)
set(CMAKE_RC_COMPILER ${mlib_triple}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${mlib_triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if(MLIB_MINGW_ARCH STREQUAL "x86_64")
  set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
endif()
