# The installed tree: library, public headers, pkg-config file and CMake package.
include(CMakePackageConfigHelpers)

install(TARGETS qorvscommon EXPORT qorvscommonTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/qorvs DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/qorvscommon)
install(EXPORT qorvscommonTargets NAMESPACE qorvs:: DESTINATION ${packageDir})
configure_package_config_file(
    cmake/qorvscommonConfig.cmake.in qorvscommonConfig.cmake INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(qorvscommonConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_BINARY_DIR}/qorvscommonConfig.cmake
    ${CMAKE_BINARY_DIR}/qorvscommonConfigVersion.cmake
    ${CMAKE_SOURCE_DIR}/cmake/FindCryptoki.cmake
    DESTINATION ${packageDir})

file(RELATIVE_PATH prefixFromPkgConfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/qorvscommon.pc.in qorvscommon.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/qorvscommon.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
