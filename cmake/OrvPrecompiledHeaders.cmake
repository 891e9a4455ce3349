# Headers that nearly every source includes, read once. Only headers of other makers stand here: a change of an own
# header compiles what includes it, and nothing else. The fuzz build goes without, and so finds an include that a whole layer
# leaves out; those that a single source leaves out are found by tests/style/check_style.py.
option(ORV_PRECOMPILED_HEADERS "Compile the headers of the standard library, Boost.JSON and GoogleTest once" ON)

set(ORV_LIBRARY_HEADERS
  <algorithm> <array> <atomic> <charconv> <chrono> <cstdint> <deque> <functional> <map> <memory> <mutex> <optional>
  <string> <string_view> <tuple> <type_traits> <unordered_map> <utility> <variant> <vector>
  <boost/json/array.hpp> <boost/json/object.hpp> <boost/json/parse.hpp> <boost/json/serialize.hpp>
  <boost/json/value.hpp>)
set(ORV_TEST_HEADERS ${ORV_LIBRARY_HEADERS} <filesystem> <fstream> <future> <iostream> <random> <sstream> <thread>
  <gtest/gtest.h>)

# orv_make_precompiled(NAME LIBRARIES library... HEADERS header...)
#
# Makes the target that the others take their headers from. They must be compiled with the same options.
function(orv_make_precompiled name)
  cmake_parse_arguments(ARG "" "" "LIBRARIES;HEADERS" ${ARGN})
  if(NOT ORV_PRECOMPILED_HEADERS)
    return()
  endif()
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  if(NOT EXISTS ${source})
    file(WRITE ${source} "// Carries the precompiled headers.\n")
  endif()
  add_library(${name} OBJECT ${source})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} orv_build_settings)
  target_precompile_headers(${name} PRIVATE ${ARG_HEADERS})
  # Without this ccache cannot know what a source that uses them was made of.
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endfunction()

# orv_use_precompiled(TARGET NAME)
function(orv_use_precompiled target name)
  if(NOT ORV_PRECOMPILED_HEADERS)
    return()
  endif()
  target_precompile_headers(${target} REUSE_FROM ${name})
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
  # What GCC 12 inlines from precompiled headers counts as ours, and the optimiser sees overruns in it that are not there.
  target_compile_options(${target} PRIVATE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds;-Wno-restrict;-Wno-stringop-overflow;-Wno-stringop-overread>)
endfunction()
