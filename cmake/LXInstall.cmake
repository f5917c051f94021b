# The CMake package: find_package(LXServices CONFIG [COMPONENTS LXTesting]).
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/LXServices)
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/LXServicesConfig.cmake.in ${PROJECT_BINARY_DIR}/LXServicesConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
# Before 1.0, a new minor version may change what a program is compiled against.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LXServicesConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/LXServicesConfig.cmake ${PROJECT_BINARY_DIR}/LXServicesConfigVersion.cmake
  DESTINATION ${package_dir})
install(EXPORT LXServicesTargets NAMESPACE LXServices:: DESTINATION ${package_dir})
if(LX_BUILD_TESTING_LIBRARY)
  install(EXPORT LXTestingTargets NAMESPACE LXServices:: DESTINATION ${package_dir})
endif()
