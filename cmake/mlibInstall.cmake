# Install rules: the library, its headers (the generated <mlib/version.h> included), a CMake
# package (find_package(mlib CONFIG) gives mlib::mlib), a pkg-config file and the licence.
# Both package files are relocatable: they find the prefix from where they lie.
include(CMakePackageConfigHelpers)

set(MLIB_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/mlib)

install(TARGETS mlib EXPORT mlibTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/mlib DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_BINARY_DIR}/include/mlib/version.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/mlib)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/licenses/mlib)
install(EXPORT mlibTargets NAMESPACE mlib:: DESTINATION ${MLIB_CMAKE_DIR})

configure_package_config_file(cmake/mlibConfig.cmake.in
  ${PROJECT_BINARY_DIR}/mlibConfig.cmake INSTALL_DESTINATION ${MLIB_CMAKE_DIR})
# The ABI policy: while 0.x every minor version may change the ABI, so only the same minor
# version is compatible; from 1.0 on, the same major version.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(mlib_compatibility SameMinorVersion)
else()
  set(mlib_compatibility SameMajorVersion)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/mlibConfigVersion.cmake
  COMPATIBILITY ${mlib_compatibility})
install(FILES ${PROJECT_BINARY_DIR}/mlibConfig.cmake ${PROJECT_BINARY_DIR}/mlibConfigVersion.cmake
  DESTINATION ${MLIB_CMAKE_DIR})

# pkg-config: the prefix relative to the file's own folder; no -std flag (the header needs
# C++17 or later, the host picks its own standard).
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(MLIB_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH pc_to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
  set(MLIB_PC_PREFIX "\${pcfiledir}/${pc_to_prefix}")
endif()
set(MLIB_PC_CFLAGS "")
if(NOT MLIB_SHARED)
  set(MLIB_PC_CFLAGS " -DMLIB_STATIC")
endif()
configure_file(cmake/mlib.pc.in ${PROJECT_BINARY_DIR}/mlib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/mlib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
