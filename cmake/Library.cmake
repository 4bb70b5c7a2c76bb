# The library itself. The objects are built once: the shared library is what users load, the static
# one serves the unit tests, which reach helpers that the shared library does not export.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LIBUDEV REQUIRED IMPORTED_TARGET libudev)
check_cxx_compiler_flag(-fno-gnu-unique UXVISA_HAS_NO_GNU_UNIQUE)

function(uxvisa_object_library name)
  add_library(${name} OBJECT ${ARGN})
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_link_libraries(${name} PRIVATE uxvisa_options)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  if(UXVISA_HAS_NO_GNU_UNIQUE)
    # A unique symbol would pin the library in memory and make dlclose a no-op.
    target_compile_options(${name} PRIVATE -fno-gnu-unique)
  endif()
endfunction()

# Apart, so that tests of transports can put injected faults in its place.
uxvisa_object_library(uxvisa_system_calls transports/SystemCalls.cpp)

uxvisa_object_library(uxvisa_objects
  Library/Thread.cpp
  Library/pevents.cpp
  api/DynamicVisa.cpp
  api/LogMessageVisa.cpp
  api/StatusTexts.cpp
  api/UxVISA.cpp
  api/main.cpp
  brix/Decoder.cpp
  brix/Encoder.cpp
  brix/Head.cpp
  brix/PacketText.cpp
  brix/ProtocolLibrary.cpp
  brix/SessionBRIX.cpp
  brix/TextNumbers.cpp
  brix/ValueCodec.cpp
  core/BaseSession.cpp
  core/CommonLib.cpp
  core/FormatPieces.cpp
  core/FormattedInput.cpp
  core/FormattedOutput.cpp
  core/LogFile.cpp
  core/SessionFindList.cpp
  core/resourcemanager.cpp
  monitor/MonitorBlock.cpp
  monitor/SessionDebug.cpp
  monitor/SessionHook.cpp
  monitor/SharedObject.cpp
  transports/BcastUDP.cpp
  transports/BroadcastSocket.cpp
  transports/DeviceFile.cpp
  transports/DiscoveryReply.cpp
  transports/EmulatorRecord.cpp
  transports/GetHostByAddrThread.cpp
  transports/LogMessage.cpp
  transports/RpcRecord.cpp
  transports/SearchExpression.cpp
  transports/SerialCalls.cpp
  transports/SerialPorts.cpp
  transports/SessionASRL.cpp
  transports/SessionClasses.cpp
  transports/SessionExt.cpp
  transports/SessionTCPIP.cpp
  transports/SessionUSBTMC.cpp
  transports/SessionUSOCK.cpp
  transports/SessionVXI11.cpp
  transports/StreamSocket.cpp
  transports/UsbDescriptors.cpp
  transports/Vxi11Identity.cpp)

target_link_libraries(uxvisa_objects PRIVATE PkgConfig::LIBUDEV)

add_library(UxVisa SHARED
  $<TARGET_OBJECTS:uxvisa_objects> $<TARGET_OBJECTS:uxvisa_system_calls>)
add_library(UxVisa::UxVisa ALIAS UxVisa)
set_target_properties(UxVisa PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 2
  LINKER_LANGUAGE CXX LINK_DEPENDS ${PROJECT_SOURCE_DIR}/api/exports.map)
# Private: neither the installed CMake package nor the headers make users look for it.
target_link_libraries(UxVisa PRIVATE uxvisa_options PkgConfig::LIBUDEV)
target_link_options(UxVisa PRIVATE
  LINKER:--version-script=${PROJECT_SOURCE_DIR}/api/exports.map
  LINKER:-z,relro LINKER:-z,now)
# The source folder, because the headers of the classes include each other from there.
target_include_directories(UxVisa INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include/uxvisa>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/uxvisa>)

# For unit tests only, never installed.
add_library(uxvisa_static STATIC EXCLUDE_FROM_ALL
  $<TARGET_OBJECTS:uxvisa_objects> $<TARGET_OBJECTS:uxvisa_system_calls>)
target_include_directories(uxvisa_static INTERFACE
  ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(uxvisa_static PUBLIC PkgConfig::LIBUDEV)
