# Warnings, sanitizers and the system libraries each backend needs.

function(mlib_set_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4)
  else()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
      -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Woverloaded-virtual)
  endif()
endfunction()

# System libraries the platform backend calls.
function(mlib_link_platform target)
  if(WIN32)
    target_link_libraries(${target} PRIVATE ws2_32)
  else()
    find_package(Threads REQUIRED)
    target_link_libraries(${target} PUBLIC Threads::Threads)
  endif()
endfunction()

if(MLIB_SANITIZE)
  string(REPLACE ";" "," mlib_sanitizers "${MLIB_SANITIZE}")
  add_compile_options(-fsanitize=${mlib_sanitizers} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${mlib_sanitizers})
endif()

# The Windows builds carry their C++ runtime inside, so the programs run under Wine without
# the cross compiler's DLLs beside them.
if(WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_link_options(-static-libgcc -static-libstdc++ -static)
endif()
