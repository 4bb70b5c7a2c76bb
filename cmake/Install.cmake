include(CMakePackageConfigHelpers)

install(TARGETS UxVisa EXPORT UxVisaTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/uxvisa/visa.h include/uxvisa/visatype.h
  include/uxvisa/VisaSession.h include/uxvisa/hook.h include/uxvisa/logfile.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/uxvisa)
# The classes that programs use, under the paths by which their headers include each other.
install(FILES Library/Export.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/uxvisa/Library)
install(FILES core/BaseSession.h core/ISession.h core/LogFile.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/uxvisa/core)
install(FILES monitor/SessionDebug.h monitor/SessionHook.h monitor/SharedObject.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/uxvisa/monitor)

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
