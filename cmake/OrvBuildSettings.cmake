# Compiler settings shared by every target of the project.
add_library(orv_build_settings INTERFACE)
target_compile_options(orv_build_settings INTERFACE
  -Wall -Wextra -Wconversion -Wshadow $<$<BOOL:${ORV_WARNINGS_AS_ERRORS}>:-Werror>
  # Clang 14 does not see that a generic lambda uses `this`.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-unused-lambda-capture>)

# Nobody can put a function in the place of one of the library's (`orv_limit_exports`): so the compiler may build one that
# is exported into its callers, too.
target_compile_options(orv_build_settings INTERFACE -fno-semantic-interposition)

# GCC looks for memory that it could use again from 128 MB on, in vain here: it takes a seventh of the time that a test
# takes to compile, and gives back little.
target_compile_options(orv_build_settings INTERFACE $<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=400000>)

# Names of unnamed namespaces look as if others saw them where a layer is compiled as one source.
if(CMAKE_UNITY_BUILD)
  target_compile_options(orv_build_settings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endif()
if(ORV_SANITIZE)
  target_compile_options(orv_build_settings INTERFACE
    -fsanitize=${ORV_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(orv_build_settings INTERFACE -fsanitize=${ORV_SANITIZE})
  # Clang 14 cannot compile coroutines with its check of function pointers.
  if(ORV_SANITIZE MATCHES "undefined")
    target_compile_options(orv_build_settings INTERFACE $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)
  endif()
  # What is tested is looked at; to look at the tests themselves for undefined behaviour would take a fifth of their
  # compile time.
  target_compile_options(orv_build_settings INTERFACE
    $<$<BOOL:$<TARGET_PROPERTY:ORV_TEST_CODE>>:-fno-sanitize=undefined>)
  # The sanitizers' instrumentation makes GCC 12 see uses that are not there.
  target_compile_options(orv_build_settings INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized -Wno-tsan>)
endif()

# Whether a target is made of tests. Targets of a folder take it from the variable of the same name.
define_property(TARGET PROPERTY ORV_TEST_CODE INITIALIZE_FROM_VARIABLE ORV_TEST_CODE)

# orv_layer(NAME DEPENDS LAYER...)
#
# Declares one folder of the library as a target that sees only the layers it names. Every layer is
# compiled once, as objects that both the shipped library and the tests' static one are made of.
function(orv_layer name)
  cmake_parse_arguments(ARG "" "" "DEPENDS;PRIVATE" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
  orv_order_for_units(sources)
  add_library(orv_${name} OBJECT ${sources})
  target_include_directories(orv_${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(orv_${name} PRIVATE orv_build_settings ${ARG_PRIVATE})
  target_link_libraries(orv_${name} PUBLIC orv_public_dependencies)
  foreach(layer IN LISTS ARG_DEPENDS)
    target_link_libraries(orv_${name} PUBLIC orv_${layer})
  endforeach()
  orv_use_precompiled(orv_${name} orv_library_headers)
endfunction()

# orv_public_headers(TARGET ENTRY...)
#
# The headers of a library that hosts may include: those named, and those of the folders named. What lies in a
# subfolder of these is private. They are installed with the library.
function(orv_public_headers target)
  foreach(entry IN LISTS ARGN)
    if(IS_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/${entry})
      file(GLOB found CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${entry}/*.h)
    else()
      set(found ${CMAKE_CURRENT_SOURCE_DIR}/${entry})
    endif()
    list(APPEND headers ${found})
  endforeach()
  target_sources(${target} PUBLIC FILE_SET public_headers TYPE HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}
    FILES ${headers})
endfunction()

# orv_limit_exports(TARGET)
#
# Lets a shared library show its own names only, and leave nothing open for somebody else to define. Its own functions
# call each other without asking the loader, which would look for hundreds of long names when a program starts.
function(orv_limit_exports target)
  if(NOT BUILD_SHARED_LIBS)
    return()
  endif()
  set(map ${PROJECT_SOURCE_DIR}/orvnetwork/exports.map)
  target_link_options(${target} PRIVATE -Wl,--version-script=${map} -Wl,-Bsymbolic-functions)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
  if(NOT ORV_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
