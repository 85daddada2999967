# What an installed tree offers to others: find_package(VelkPowerDistribution) and pkg-config.

include(CMakePackageConfigHelpers)

set(VELK_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/VelkPowerDistribution)

install(EXPORT VelkPowerDistribution NAMESPACE Velk:: DESTINATION ${VELK_INSTALL_CMAKEDIR}
    FILE VelkPowerDistributionTargets.cmake)
configure_package_config_file(cmake/VelkPowerDistributionConfig.cmake.in
    ${CMAKE_BINARY_DIR}/VelkPowerDistributionConfig.cmake INSTALL_DESTINATION ${VELK_INSTALL_CMAKEDIR}
    PATH_VARS VELK_INSTALL_PLUGINDIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/VelkPowerDistributionConfigVersion.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/VelkPowerDistributionConfig.cmake
              ${CMAKE_BINARY_DIR}/VelkPowerDistributionConfigVersion.cmake
    DESTINATION ${VELK_INSTALL_CMAKEDIR})

# The prefix is the one of the installed file, so that a tree may be moved.
file(RELATIVE_PATH VELK_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
set(VELK_PC_PREFIX "\${pcfiledir}/${VELK_PC_PREFIX}")
configure_file(cmake/velk-powerdistribution.pc.in ${CMAKE_BINARY_DIR}/velk-powerdistribution.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/velk-powerdistribution.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The fakes for authors of plug-ins.
install(FILES testing/CallLog.h testing/FakeClock.h testing/FakePoint.h testing/FakeProtocol.h testing/FakeWrapper.h
              testing/FakeWrapperFactory.h
    DESTINATION ${VELK_INSTALL_INCLUDEDIR}/testing)
