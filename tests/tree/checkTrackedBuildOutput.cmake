# Fails when the repository tracks something a build produces (object files, libraries,
# programs, CMake's own files, build folders): such files carry the paths and compilers of the
# machine that made them and go stale with the first change. Skipped outside a git checkout.
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND git -C ${CMAKE_CURRENT_LIST_DIR}/../.. ls-files
  RESULT_VARIABLE result OUTPUT_VARIABLE tracked ERROR_QUIET)
if(NOT result EQUAL 0)  # the result is an error text when git is missing
  message("not a git checkout, or no git: skipped")
  return()
endif()
string(REPLACE ";" "\\;" tracked "${tracked}")
string(REPLACE "\n" ";" tracked "${tracked}")  # one name a line: a CMake list
string(JOIN "|" build_output "\\.(o|obj|a|lib|so|dll|exe|dylib|pdb|gcda|gcno)$" "\\.so\\.[0-9.]+$"
  "(^|/)(CMakeCache\\.txt|compile_commands\\.json|build\\.ninja|\\.ninja_log)$"
  "(^|/)CMakeFiles/" "^build(-[^/]*)?/")
list(FILTER tracked INCLUDE REGEX "${build_output}")
if(tracked)
  list(JOIN tracked "\n  " listing)
  message(FATAL_ERROR "build output is tracked by git; remove it (git rm --cached) and let "
    ".gitignore keep it out:\n  ${listing}")
endif()
message("no build output is tracked")
