# Fails when the repository tracks something a build produces (object files, libraries,
# programs, CMake's own files, build folders): such files carry the paths and compilers of
# the machine that made them and go stale with the first change. Arguments: SOURCE_DIR.
# Outside a git checkout (a source tarball) there is nothing to check; the test is skipped.
cmake_minimum_required(VERSION 3.25)
find_program(GIT git)
if(NOT GIT)
  message("git not found: skipped")
  return()
endif()
execute_process(COMMAND ${GIT} -C ${SOURCE_DIR} ls-files
  RESULT_VARIABLE result OUTPUT_VARIABLE tracked ERROR_QUIET)
if(NOT result EQUAL 0)
  message("not a git checkout: skipped")
  return()
endif()

# One name a line; make them a CMake list.
string(REPLACE ";" "\\;" tracked "${tracked}")
string(REPLACE "\n" ";" tracked "${tracked}")

set(build_output_patterns
  "\\.(o|obj|a|lib|so|dll|exe|dylib|pdb|gcda|gcno)$"
  "\\.so\\.[0-9.]+$"
  "(^|/)(CMakeCache\\.txt|compile_commands\\.json|build\\.ninja|\\.ninja_log)$"
  "(^|/)CMakeFiles/"
  "^build(-[^/]*)?/")
set(offenders)
foreach(file IN LISTS tracked)
  foreach(pattern IN LISTS build_output_patterns)
    if(file MATCHES "${pattern}")
      list(APPEND offenders "${file}")
      break()
    endif()
  endforeach()
endforeach()
if(offenders)
  list(JOIN offenders "\n  " listing)
  message(FATAL_ERROR "build output is tracked by git; remove it (git rm --cached) and let "
    ".gitignore keep it out:\n  ${listing}")
endif()
message("no build output is tracked")
