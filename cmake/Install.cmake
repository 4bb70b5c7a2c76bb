include(CMakePackageConfigHelpers)

install(TARGETS UxVisa EXPORT UxVisaTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/uxvisa/visa.h include/uxvisa/visatype.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/uxvisa)

configure_package_config_file(cmake/UxVisaConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/UxVisaConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/UxVisa)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/UxVisaConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/UxVisaConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/UxVisaConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/UxVisa)
install(EXPORT UxVisaTargets NAMESPACE UxVisa:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/UxVisa)

configure_file(cmake/uxvisa.pc.in ${CMAKE_CURRENT_BINARY_DIR}/uxvisa.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/uxvisa.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Not under the library folder of the platform: udev looks in lib/udev of /usr and /usr/local.
install(FILES packaging/70-uxvisa.rules DESTINATION lib/udev/rules.d)
