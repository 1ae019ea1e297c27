include(CMakePackageConfigHelpers)

install(EXPORT ovUtilityTargets NAMESPACE ovUtility::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ovUtility)
configure_package_config_file(cmake/ovUtilityConfig.cmake.in
  ${CMAKE_BINARY_DIR}/ovUtilityConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ovUtility)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ovUtilityConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ovUtilityConfig.cmake
              ${CMAKE_BINARY_DIR}/ovUtilityConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ovUtility)

# The build tree is a package too: a consumer configured with
# -DovUtility_DIR=<build> uses the libraries and headers where they are.
export(EXPORT ovUtilityTargets NAMESPACE ovUtility::
       FILE ${CMAKE_BINARY_DIR}/ovUtilityTargets.cmake)
