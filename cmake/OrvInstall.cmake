# What `cmake --install` puts where, beside the programs: the libraries, their public headers, a CMake package and pkg-config files.
include(CMakePackageConfigHelpers)

set(ORV_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/OrvNetwork)

install(TARGETS orvnetwork orvnetwork_testing EXPORT OrvNetworkTargets
  FILE_SET public_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(EXPORT OrvNetworkTargets NAMESPACE OrvNetwork:: DESTINATION ${ORV_CMAKE_DIR})
# The embedded server for tests of hosts is a component of its own, since it needs what the library does not. Its headers
# have a folder of their own: "devserver" is nobody's name in particular.
if(TARGET orvnetwork_devserver)
  install(TARGETS orvnetwork_devserver orv_devserver EXPORT OrvNetworkDevserverTargets COMPONENT devserver
    FILE_SET public_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvnetwork-devserver COMPONENT devserver)
  install(EXPORT OrvNetworkDevserverTargets NAMESPACE OrvNetwork:: DESTINATION ${ORV_CMAKE_DIR} COMPONENT devserver)
endif()

# So is what hosts on Qt 6 take.
if(TARGET orvnetwork_qt)
  install(TARGETS orvnetwork_qt EXPORT OrvNetworkQtTargets COMPONENT qt
    FILE_SET public_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT qt)
  install(EXPORT OrvNetworkQtTargets NAMESPACE OrvNetwork:: DESTINATION ${ORV_CMAKE_DIR} COMPONENT qt)
endif()

# And what hosts on GLib take.
if(TARGET orvnetwork_glib)
  install(TARGETS orvnetwork_glib EXPORT OrvNetworkGlibTargets COMPONENT glib
    FILE_SET public_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT glib)
  install(EXPORT OrvNetworkGlibTargets NAMESPACE OrvNetwork:: DESTINATION ${ORV_CMAKE_DIR} COMPONENT glib)
endif()

configure_package_config_file(cmake/OrvNetworkConfig.cmake.in OrvNetworkConfig.cmake
  INSTALL_DESTINATION ${ORV_CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(OrvNetworkConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/OrvNetworkConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/OrvNetworkConfigVersion.cmake
  DESTINATION ${ORV_CMAKE_DIR})

# The pkg-config files find their prefix from where they lie, so an installed tree can be moved.
file(RELATIVE_PATH ORV_PREFIX_FROM_PKGCONFIG
  /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
if(NOT BUILD_SHARED_LIBS)
  # A static library leaves it to the host to link what the library itself uses.
  set(ORV_PKGCONFIG_STATIC_REQUIRES "libssl libcrypto icu-i18n icu-uc expat simdjson")
endif()
foreach(name IN ITEMS orvnetwork orvnetwork-testing)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
if(TARGET orvnetwork_devserver)
  configure_file(cmake/orvnetwork-devserver.pc.in orvnetwork-devserver.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/orvnetwork-devserver.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT devserver)
endif()
if(TARGET orvnetwork_qt)
  configure_file(cmake/orvnetwork-qt.pc.in orvnetwork-qt.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/orvnetwork-qt.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT qt)
endif()
if(TARGET orvnetwork_glib)
  configure_file(cmake/orvnetwork-glib.pc.in orvnetwork-glib.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/orvnetwork-glib.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT glib)
endif()
