# Cross build for 64-bit Windows with MinGW-w64 (POSIX threads), programs run under Wine.
#
# KYM_WINDOWS_DEPENDENCIES, a cache entry or an environment variable, names the prefix that holds the
# libraries built for Windows (scripts/windows-dependencies makes it and prints its path).

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(NOT KYM_WINDOWS_DEPENDENCIES AND DEFINED ENV{KYM_WINDOWS_DEPENDENCIES})
  set(KYM_WINDOWS_DEPENDENCIES "$ENV{KYM_WINDOWS_DEPENDENCIES}" CACHE PATH
      "Prefix of the libraries built for Windows")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KYM_WINDOWS_DEPENDENCIES)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
if(KYM_WINDOWS_DEPENDENCIES)
  list(PREPEND CMAKE_FIND_ROOT_PATH "${KYM_WINDOWS_DEPENDENCIES}")
  list(PREPEND CMAKE_PREFIX_PATH "${KYM_WINDOWS_DEPENDENCIES}")
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# scripts/wine keeps to a prefix of the build's own and never touches the user's.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine")
