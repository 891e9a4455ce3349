# What `cmake --install` puts where, beside the programs: the libraries, their public headers, a CMake package and
# pkg-config files. Each component of the installation becomes a Debian package (OrvPackages.cmake).
include(CMakePackageConfigHelpers)

set(ORV_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/OrvNetwork)

# orv_install_library(TARGET COMPONENT name DEVELOPMENT name TARGETS_FILE name [HEADERS folder])
#
# What programs need to run with a library goes to the one component, and what they need to be built with it to the
# other: headers, the link, the file of its target and its pkg-config file, which cmake/ has the pattern of.
function(orv_install_library target)
  cmake_parse_arguments(ARG "" "COMPONENT;DEVELOPMENT;TARGETS_FILE;HEADERS" "" ${ARGN})
  install(TARGETS ${target} EXPORT ${ARG_TARGETS_FILE}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${ARG_COMPONENT} NAMELINK_COMPONENT ${ARG_DEVELOPMENT}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${ARG_DEVELOPMENT}
    FILE_SET public_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${ARG_HEADERS} COMPONENT ${ARG_DEVELOPMENT})
  install(EXPORT ${ARG_TARGETS_FILE} NAMESPACE OrvNetwork:: DESTINATION ${ORV_CMAKE_DIR}
    COMPONENT ${ARG_DEVELOPMENT})
endfunction()

# orv_install_pkg_config(NAME COMPONENT)
function(orv_install_pkg_config name component)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT ${component})
endfunction()

# The pkg-config files find their prefix from where they lie, so an installed tree can be moved.
file(RELATIVE_PATH ORV_PREFIX_FROM_PKGCONFIG /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
if(NOT BUILD_SHARED_LIBS)
  # A static library leaves it to the host to link what the library itself uses.
  set(ORV_PKGCONFIG_STATIC_REQUIRES "libssl libcrypto icu-i18n icu-uc expat")
endif()

orv_install_library(orvnetwork COMPONENT library DEVELOPMENT development TARGETS_FILE OrvNetworkTargets)
orv_install_pkg_config(orvnetwork development)
orv_install_library(orvnetwork_testing
  COMPONENT testing DEVELOPMENT testing_development TARGETS_FILE OrvNetworkTestingTargets)
orv_install_pkg_config(orvnetwork-testing testing_development)

# Adapters for desktop toolkits, where they are built.
foreach(toolkit IN ITEMS Qt Glib)
  string(TOLOWER ${toolkit} name)
  if(TARGET orvnetwork_${name})
    orv_install_library(orvnetwork_${name}
      COMPONENT ${name} DEVELOPMENT ${name}_development TARGETS_FILE OrvNetwork${toolkit}Targets)
    orv_install_pkg_config(orvnetwork-${name} ${name}_development)
  endif()
endforeach()

# The embedded server for tests of hosts is a component of its own, since it needs what the library does not. Its headers
# have a folder of their own: "devserver" is nobody's name in particular.
if(TARGET orvnetwork_devserver)
  install(TARGETS orvnetwork_devserver orv_devserver EXPORT OrvNetworkDevserverTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT devserver
    FILE_SET public_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvnetwork-devserver COMPONENT devserver)
  install(EXPORT OrvNetworkDevserverTargets NAMESPACE OrvNetwork:: DESTINATION ${ORV_CMAKE_DIR} COMPONENT devserver)
  orv_install_pkg_config(orvnetwork-devserver devserver)
endif()

configure_package_config_file(cmake/OrvNetworkConfig.cmake.in OrvNetworkConfig.cmake
  INSTALL_DESTINATION ${ORV_CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(OrvNetworkConfigVersion.cmake COMPATIBILITY ${ORV_COMPATIBILITY})
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/OrvNetworkConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/OrvNetworkConfigVersion.cmake
  DESTINATION ${ORV_CMAKE_DIR} COMPONENT development)

# The reference of the public headers. Its start page is docs/start.md.
if(ORV_BUILD_REFERENCE)
  find_package(Doxygen REQUIRED)
  set(reference ${PROJECT_BINARY_DIR}/reference)
  file(GLOB_RECURSE described CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/orvnetwork/*.h ${PROJECT_SOURCE_DIR}/docs/*)
  file(CONFIGURE OUTPUT Doxyfile CONTENT
    "@INCLUDE = Doxyfile\nOUTPUT_DIRECTORY = @PROJECT_BINARY_DIR@\nPROJECT_NUMBER = @PROJECT_VERSION@\n")
  add_custom_command(OUTPUT ${reference}/index.html
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${reference}
    COMMAND Doxygen::doxygen ${PROJECT_BINARY_DIR}/Doxyfile
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    DEPENDS ${described} ${PROJECT_SOURCE_DIR}/Doxyfile ${PROJECT_SOURCE_DIR}/README.md VERBATIM)
  add_custom_target(reference ALL DEPENDS ${reference}/index.html)
  install(DIRECTORY ${reference}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orvnetwork-doc/html COMPONENT documentation)
  install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orvnetwork-doc/docs COMPONENT documentation)
  install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orvnetwork-doc/examples COMPONENT documentation
    PATTERN CMakeLists.txt EXCLUDE)
  install(FILES README.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orvnetwork-doc COMPONENT documentation)
endif()
