# The exported surface of the shared library, kept as a baseline in the repository: the
# sorted, demangled names of its dynamic symbols (nm -D --defined-only). The check fails when
# the library exports anything else, so a change of the surface lands only together with the
# new baseline, where a reviewer sees it (and, while 0.x, with a new minor version).
#
#   cmake -DLIBRARY=<libmlib.so> -DBASELINE=<file> -DMODE=check  -P abiSurface.cmake
#   cmake -DLIBRARY=<libmlib.so> -DBASELINE=<file> -DMODE=update -P abiSurface.cmake
#
# `cmake --build --preset default --target abi-baseline` (or `scripts/dev abi-baseline`)
# runs the update.
cmake_minimum_required(VERSION 3.25)
find_program(NM NAMES nm)
if(NOT NM)
  message(FATAL_ERROR "nm (binutils) is needed to read the library's exported symbols")
endif()
execute_process(COMMAND ${NM} -D --defined-only --demangle ${LIBRARY}
  RESULT_VARIABLE result OUTPUT_VARIABLE listing ERROR_VARIABLE error)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}: ${error}")
endif()

# "address type name" lines; keep the names (demangled signatures), one a line, sorted.
string(REPLACE ";" "\\;" listing "${listing}")
string(REPLACE "\n" ";" listing "${listing}")
set(current)
foreach(line IN LISTS listing)
  if(line MATCHES "^[0-9a-fA-F]* *[A-Za-z] (.+)$")
    list(APPEND current "${CMAKE_MATCH_1}")
  endif()
endforeach()
list(REMOVE_DUPLICATES current)
list(SORT current)
list(JOIN current "\n" current_text)
set(current_text "${current_text}\n")

if(MODE STREQUAL "update")
  file(WRITE ${BASELINE} "${current_text}")
  list(LENGTH current count)
  message("wrote ${BASELINE}: ${count} exported symbols")
  return()
endif()

file(READ ${BASELINE} baseline_text)
if(baseline_text STREQUAL current_text)
  list(LENGTH current count)
  message("the exported surface matches the baseline (${count} symbols)")
  return()
endif()
string(REPLACE ";" "\\;" baseline_text "${baseline_text}")
string(REPLACE "\n" ";" baseline "${baseline_text}")
list(REMOVE_ITEM baseline "")
set(added ${current})
set(removed ${baseline})
if(baseline)
  list(REMOVE_ITEM added ${baseline})
endif()
if(current)
  list(REMOVE_ITEM removed ${current})
endif()
set(changes "")
foreach(name IN LISTS added)
  string(APPEND changes "  + ${name}\n")
endforeach()
foreach(name IN LISTS removed)
  string(APPEND changes "  - ${name}\n")
endforeach()
message(FATAL_ERROR "the exported surface differs from the baseline ${BASELINE}\n"
  "(+ exported now, not in the baseline; - in the baseline, no longer exported)\n"
  "${changes}"
  "If the change is meant, regenerate the baseline in the same commit "
  "(scripts/dev abi-baseline), say what changed in CHANGELOG.md and, while the version is "
  "0.x, raise the minor version in project().")
