# Where programs and libraries go, in the build and when installed, so that each program finds what it needs to run.
#
# Windows looks for a library beside the program first, so every program of the build, libkym.dll and the libraries
# that they need stand in one folder, bin; the installed tree has the same shape.

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
if(NOT WIN32)
  set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()

# The libraries of the compiler and of the dependencies; with MSVC the package manager copies them itself.
if(MINGW)
  foreach(name IN ITEMS libstdc++-6 libgcc_s_seh-1 libwinpthread-1 zlib1)
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" "-print-file-name=${name}.dll"
                    OUTPUT_VARIABLE library OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT EXISTS "${library}")
      message(FATAL_ERROR "The compiler does not know ${name}.dll: install the packages that scripts/setup names")
    endif()
    list(APPEND kym_runtime_libraries "${library}")
  endforeach()
  file(GLOB libraries "${KYM_WINDOWS_DEPENDENCIES}/bin/*.dll")
  list(APPEND kym_runtime_libraries ${libraries})

  file(COPY ${kym_runtime_libraries} DESTINATION "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
  install(FILES ${kym_runtime_libraries} DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
