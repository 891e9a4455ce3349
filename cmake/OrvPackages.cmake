# Debian packages, split as Debian splits libraries: `cpack` makes one of each component of the installation whose target
# is there. script/package does that and looks at what came out.
option(ORV_DEBIAN_PACKAGES "Have cpack make Debian packages; the prefix has to be /usr" OFF)
if(NOT ORV_DEBIAN_PACKAGES)
  return()
endif()
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr" OR NOT BUILD_SHARED_LIBS)
  message(FATAL_ERROR "Debian packages are made of shared libraries, for the prefix /usr: use the preset `package`")
endif()
set(ORV_PACKAGE_CONTACT "OrvNetwork maintainers <maintainers@orvnetwork.invalid>" CACHE STRING "Who answers for the packages")
set(ORV_PACKAGE_RELEASE 1 CACHE STRING "Number of the packages of this version")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvnetwork)
# Each package has a summary of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${ORV_PACKAGE_CONTACT})
set(CPACK_PACKAGE_VENDOR OrvNetwork)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${ORV_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Libraries of other makers are found by dpkg-shlibdeps. Of the project's own it only has to know where they are: the
# dependency on their packages comes from the components, as `(= VERSION)`.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/orvnetwork ${PROJECT_BINARY_DIR}/orvnetwork_qt)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENTS_ALL)

# What every package has under /usr/share/doc.
set(debian_files ${PROJECT_BINARY_DIR}/debian)
string(TIMESTAMP day "%a, %d %b %Y %H:%M:%S +0000" UTC)
string(TIMESTAMP ORV_YEAR "%Y" UTC)
set(ORV_PACKAGE_DATE ${day})
configure_file(cmake/debian/changelog.in ${debian_files}/changelog.Debian @ONLY)
configure_file(cmake/debian/copyright.in ${debian_files}/copyright @ONLY)
configure_file(CHANGELOG.md ${debian_files}/changelog COPYONLY)
foreach(name IN ITEMS changelog changelog.Debian)
  execute_process(COMMAND gzip --best --no-name --stdout ${debian_files}/${name}
    OUTPUT_FILE ${debian_files}/${name}.gz COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# orv_package(COMPONENT PACKAGE name TARGET target SECTION section SUMMARY text DESCRIPTION text
#             [COMPONENTS component...] [DEPENDS package...] [SHARED_LIBRARY] [WITHOUT_PROGRAMS])
#
# The package of one component. It depends on the packages of the components that are named, and on the others. One of a
# shared library says which package programs that link it need. Without its target there is none.
macro(orv_package component)
  cmake_parse_arguments(ARG "SHARED_LIBRARY;WITHOUT_PROGRAMS" "PACKAGE;TARGET;SECTION;SUMMARY;DESCRIPTION"
    "COMPONENTS;DEPENDS" ${ARGN})
  if(TARGET ${ARG_TARGET})
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${ARG_PACKAGE})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${ARG_SECTION})
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${ARG_SUMMARY}\n${ARG_DESCRIPTION}")
    set(CPACK_COMPONENT_${upper}_DEPENDS ${ARG_COMPONENTS})
    list(JOIN ARG_DEPENDS ", " CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS)
    if(ARG_WITHOUT_PROGRAMS)
      set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS OFF)
      set(CPACK_DEBIAN_${upper}_PACKAGE_ARCHITECTURE all)
    endif()
    if(ARG_SHARED_LIBRARY)
      orv_shared_library_control(${component} ${ARG_TARGET} ${ARG_PACKAGE})
      set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA
        ${debian_files}/${component}/shlibs ${debian_files}/${component}/triggers)
    endif()
    install(FILES ${debian_files}/copyright ${debian_files}/changelog.gz ${debian_files}/changelog.Debian.gz
      DESTINATION share/doc/${ARG_PACKAGE} COMPONENT ${component})
  endif()
endmacro()

function(orv_shared_library_control component target package)
  get_target_property(name ${target} OUTPUT_NAME)
  if(NOT name)
    set(name ${target})
  endif()
  file(WRITE ${debian_files}/${component}/shlibs
    "lib${name} ${ORV_COMPATIBLE_VERSION} ${package} (>= ${PROJECT_VERSION})\n")
  file(WRITE ${debian_files}/${component}/triggers "activate-noawait ldconfig\n")
endfunction()

string(CONCAT about
  "OrvNetwork is the client-side network and data layer of a live-classroom\n"
  "application: one link to the server, requests and their replies, the session\n"
  "of the user, lists of courses, and a rolling log.")
set(boost_json libboost-json${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR}-dev)
set(v ${ORV_COMPATIBLE_VERSION})
# What is to be installed to build a program with the adapter for a toolkit.
set(ORV_TOOLKIT_PACKAGES_qt qt6-base-dev)
set(ORV_TOOLKIT_PACKAGES_glib libglib2.0-dev)

orv_package(library PACKAGE liborvnetwork${v} TARGET orvnetwork SECTION libs SHARED_LIBRARY
  SUMMARY "network and data layer of a live-classroom application"
  DESCRIPTION "${about}\n\nThis package has the shared library." DEPENDS tzdata)
orv_package(development PACKAGE liborvnetwork-dev TARGET orvnetwork SECTION libdevel
  COMPONENTS library DEPENDS ${boost_json}
  SUMMARY "network and data layer of a live-classroom application (development)"
  DESCRIPTION "${about}\n\nThis package has what programs are built with: headers, a CMake package and\na pkg-config file.")
orv_package(testing PACKAGE liborvnetwork-testing${v} TARGET orvnetwork_testing SECTION libs SHARED_LIBRARY
  COMPONENTS library
  SUMMARY "test doubles for programs that use OrvNetwork"
  DESCRIPTION "${about}\n\nThis package has the shared library of the test doubles: a platform with\nvirtual time, and a school on its simulated server.")
orv_package(testing_development PACKAGE liborvnetwork-testing-dev TARGET orvnetwork_testing SECTION libdevel
  COMPONENTS testing development
  SUMMARY "test doubles for programs that use OrvNetwork (development)"
  DESCRIPTION "${about}\n\nThis package has what tests of such programs are built with: headers, the\nfiles of the CMake package and a pkg-config file.")
orv_package(devserver PACKAGE liborvnetwork-devserver-dev TARGET orvnetwork_devserver SECTION libdevel
  COMPONENTS development DEPENDS libssl-dev libsqlite3-dev
  SUMMARY "embedded classroom server for tests of programs that use OrvNetwork"
  DESCRIPTION "${about}\n\nThis package has a real server as a library, which tests run in their own\nprocess.")
foreach(toolkit IN ITEMS Qt GLib)
  string(TOLOWER ${toolkit} name)
  set(for_toolkit "${about}\n\nThis package is for programs on ${toolkit}")
  orv_package(${name} PACKAGE liborvnetwork-${name}${v} TARGET orvnetwork_${name} SECTION libs
    SHARED_LIBRARY COMPONENTS library
    SUMMARY "OrvNetwork for programs on ${toolkit}" DESCRIPTION "${for_toolkit}: it has the shared library.")
  orv_package(${name}_development PACKAGE liborvnetwork-${name}-dev TARGET orvnetwork_${name} SECTION libdevel
    COMPONENTS ${name} development DEPENDS ${ORV_TOOLKIT_PACKAGES_${name}}
    SUMMARY "OrvNetwork for programs on ${toolkit} (development)"
    DESCRIPTION "${for_toolkit}:\nit has what they are built with.")
endforeach()
orv_package(tools PACKAGE orvnetwork-tools TARGET orv SECTION net COMPONENTS library
  SUMMARY "command line of OrvNetwork, and its classroom server for tests"
  DESCRIPTION "${about}\n\nThis package has orv, the same library on a command line, and orv-devserver,\na classroom server to try it with.")
orv_package(classroom PACKAGE orvnetwork-classroom TARGET orv-classroom SECTION education COMPONENTS qt library
  SUMMARY "live classroom on the desktop, the example of OrvNetwork"
  DESCRIPTION "${about}\n\nThis package has an application on Qt that shows a person their courses,\nwith an entry in the menu of the desktop.")
orv_package(documentation PACKAGE orvnetwork-doc TARGET reference SECTION doc WITHOUT_PROGRAMS
  SUMMARY "reference and documents of OrvNetwork"
  DESCRIPTION "${about}\n\nThis package has the reference of the public headers, the documents and the\nexamples.")

include(CPack)
