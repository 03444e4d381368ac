# Every program that the tests start runs under valgrind memcheck, and so do those of ours that it starts in turn.
# A finding ends the program with the exit code 99 and stands in a file of the folder memcheck of the build.

set(KYM_PATIENCE 1)  # how many times longer than usual a test may take
if(KYM_MEMCHECK)
  set(KYM_PATIENCE 15)
  # Not the shell script that Debian has in its place: a shell drops variables whose names it could not use.
  find_program(KYM_VALGRIND NAMES valgrind.bin valgrind REQUIRED)
  # The tests also start programs of the system, which are left alone.
  set(CMAKE_CROSSCOMPILING_EMULATOR
      "${KYM_VALGRIND}" --quiet --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite,possible
      --num-callers=30 --trace-children=yes "--trace-children-skip=/bin/*,/usr/*,*/python3*,*/watched/*"
      "--log-file=${PROJECT_BINARY_DIR}/memcheck/%p.log")
  file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/memcheck")
endif()

# kym_watched_programs(VARIABLE NAME...): a folder with a script for each of these programs that runs it under valgrind,
# for the tests that start programs by their names.
function(kym_watched_programs variable)
  set(folder "${PROJECT_BINARY_DIR}/watched")
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "', '" valgrind)
  foreach(name IN LISTS ARGN)
    file(WRITE "${folder}/${name}"
         "#!/usr/bin/perl\nexec '${valgrind}', '${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}', @ARGV or die $!;\n")
    file(CHMOD "${folder}/${name}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  endforeach()
  set(${variable} "${folder}" PARENT_SCOPE)
endfunction()
