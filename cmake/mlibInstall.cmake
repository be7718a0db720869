# Install rules: the shared library, its headers, a CMake package (find_package(mlib CONFIG)
# gives mlib::mlib) and a pkg-config file.
include(CMakePackageConfigHelpers)

set(MLIB_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/mlib)

install(TARGETS mlib EXPORT mlibTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/mlib DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT mlibTargets NAMESPACE mlib:: DESTINATION ${MLIB_CMAKE_DIR})

configure_package_config_file(cmake/mlibConfig.cmake.in
  ${PROJECT_BINARY_DIR}/mlibConfig.cmake INSTALL_DESTINATION ${MLIB_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/mlibConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/mlibConfig.cmake ${PROJECT_BINARY_DIR}/mlibConfigVersion.cmake
  DESTINATION ${MLIB_CMAKE_DIR})

configure_file(cmake/mlib.pc.in ${PROJECT_BINARY_DIR}/mlib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/mlib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
