# Installs the built library into a scratch prefix and builds and runs hosts that find it with
# find_package and with pkg-config (C++20 and C11), then one that adds the source tree as a folder.
# Arguments: MLIB_BINARY_DIR, WORK_DIR, GENERATOR, CXX_COMPILER, C_COMPILER.
set(here ${CMAKE_CURRENT_LIST_DIR})
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(host name source_dir)  # configures and builds a host project, then runs its program
  message("-- ${name}")
  run(${CMAKE_COMMAND} -S ${source_dir} -B ${WORK_DIR}/${name} -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} ${ARGN})
  run(${CMAKE_COMMAND} --build ${WORK_DIR}/${name} --target consumer -j 2)
  run(${WORK_DIR}/${name}/consumer)
endfunction()

run(${CMAKE_COMMAND} --install ${MLIB_BINARY_DIR} --prefix ${prefix})
file(READ ${prefix}/share/licenses/mlib/LICENSE licence)  # fails when it is not installed
host(find_package ${here} -DCMAKE_PREFIX_PATH=${prefix})

# pkg-config, with the prefix known only from where mlib.pc lies (<libdir>/pkgconfig).
file(GLOB_RECURSE pc_file ${prefix}/*/mlib.pc)
get_filename_component(pc_dir "${pc_file}" DIRECTORY)
get_filename_component(libdir "${pc_dir}" DIRECTORY)
execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pc_dir}
  pkg-config --cflags --libs mlib OUTPUT_VARIABLE flags COMMAND_ERROR_IS_FATAL ANY)
if(flags MATCHES "-std=|-ansi")  # a host's standard stays its own
  message(FATAL_ERROR "mlib.pc forces a language standard: ${flags}")
endif()
separate_arguments(flags UNIX_COMMAND "${flags} -Wl,-rpath,${libdir}")
run(${CXX_COMPILER} -std=c++20 ${here}/consumer.cpp ${flags} -o ${WORK_DIR}/cxx-host)
run(${WORK_DIR}/cxx-host)
run(${C_COMPILER} -std=c11 -Wall -Wextra -Wpedantic -Werror ${here}/../text/cHost/cHostTest.c
  ${flags} -o ${WORK_DIR}/c-host)
run(${WORK_DIR}/c-host)

# add_subdirectory of the source tree; nothing of mlib is installed with the parent.
host(add_subdirectory ${here}/hosts/addSubdirectory -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --install ${WORK_DIR}/add_subdirectory --prefix ${WORK_DIR}/parent)
if(EXISTS ${WORK_DIR}/parent/include/mlib)
  message(FATAL_ERROR "the parent's install brought mlib's headers along")
endif()
