# Cross-compiles for 64-bit Windows with the distribution's mingw-w64 (posix threads).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(_triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${_triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${_triple}-g++-posix)
set(CMAKE_RC_COMPILER ${_triple}-windres)

# Programs come from the build machine; headers and libraries only from the target's own places.
set(CMAKE_FIND_ROOT_PATH /usr/${_triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if(DEFINED QX_DEPENDENCIES)
  list(APPEND CMAKE_FIND_ROOT_PATH "${QX_DEPENDENCIES}")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QX_DEPENDENCIES)
