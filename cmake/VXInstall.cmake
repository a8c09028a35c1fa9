# Installation: headers, both libraries, the CMake package and vx.pc.
include(CMakePackageConfigHelpers)

install(TARGETS vx vxhost EXPORT VXTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/vx include/vxhost DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT VXTargets NAMESPACE VX:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VX)

configure_package_config_file(cmake/VXConfig.cmake.in "${CMAKE_CURRENT_BINARY_DIR}/VXConfig.cmake"
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VX)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/VXConfigVersion.cmake"
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/VXConfig.cmake" "${CMAKE_CURRENT_BINARY_DIR}/VXConfigVersion.cmake"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VX)

configure_file(cmake/vx.pc.in "${CMAKE_CURRENT_BINARY_DIR}/vx.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/vx.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
