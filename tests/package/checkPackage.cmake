# Installs the built library into a scratch prefix, then builds and runs host programs the
# three ways a host finds mlib: find_package(mlib CONFIG) against the install, pkg-config
# against the install (a C++20 host and a C11 host), and add_subdirectory of the source tree.
# Arguments: MLIB_BINARY_DIR, MLIB_SOURCE_DIR, WORK_DIR, SOURCE_DIR (this folder), GENERATOR,
# CXX_COMPILER, C_COMPILER.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "failed: ${command}\n${out}")
  endif()
  message("${out}")
endfunction()

run(${CMAKE_COMMAND} --install ${MLIB_BINARY_DIR} --prefix ${prefix})
if(NOT EXISTS ${prefix}/share/licenses/mlib/LICENSE)
  message(FATAL_ERROR "the licence is not installed")
endif()

# 1. find_package(mlib CONFIG).
message("-- find_package")
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/find_package -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/find_package)
run(${WORK_DIR}/find_package/consumer)

# 2. pkg-config, with the prefix known only from where mlib.pc lies.
message("-- pkg-config")
file(GLOB_RECURSE pc_file ${prefix}/*/mlib.pc)
get_filename_component(pc_dir "${pc_file}" DIRECTORY)
execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pc_dir}
    pkg-config --cflags --libs mlib
  RESULT_VARIABLE result OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "pkg-config does not find mlib in ${pc_dir}")
endif()
if(flags MATCHES "-std=")
  message(FATAL_ERROR "mlib.pc forces a language standard: ${flags}")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
file(GLOB_RECURSE library ${prefix}/*/libmlib.so)
get_filename_component(libdir "${library}" DIRECTORY)
run(${CXX_COMPILER} -std=c++20 -DMLIB_CONSUMER_EXPECTS_CXX20 ${SOURCE_DIR}/consumer.cpp
    ${flags} -Wl,-rpath,${libdir} -o ${WORK_DIR}/pkg-config-consumer)
run(${WORK_DIR}/pkg-config-consumer)
run(${C_COMPILER} -std=c11 -Wall -Wextra -Wpedantic -Werror
    ${SOURCE_DIR}/../text/cHost/cHostTest.c ${flags} -Wl,-rpath,${libdir}
    -o ${WORK_DIR}/pkg-config-c-host)
run(${WORK_DIR}/pkg-config-c-host)

# 3. add_subdirectory of the source tree; nothing of mlib is installed with the parent.
message("-- add_subdirectory")
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/hosts/addSubdirectory -B ${WORK_DIR}/add_subdirectory
    -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DMLIB_SOURCE_DIR=${MLIB_SOURCE_DIR}
    -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/add_subdirectory --target consumer -j 2)
run(${WORK_DIR}/add_subdirectory/consumer)
run(${CMAKE_COMMAND} --install ${WORK_DIR}/add_subdirectory --prefix ${WORK_DIR}/parent)
if(EXISTS ${WORK_DIR}/parent/include/mlib)
  message(FATAL_ERROR "the parent's install brought mlib's headers along")
endif()
