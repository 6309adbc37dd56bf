include(CMakePackageConfigHelpers)

set(ORV_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/orv")

install(EXPORT orvTargets NAMESPACE orv:: DESTINATION "${ORV_CMAKE_DIR}" COMPONENT development)

configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/orvConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/orvConfig.cmake"
  INSTALL_DESTINATION "${ORV_CMAKE_DIR}")
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/orvConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/orvConfig.cmake"
  "${PROJECT_BINARY_DIR}/orvConfigVersion.cmake"
  DESTINATION "${ORV_CMAKE_DIR}" COMPONENT development)
