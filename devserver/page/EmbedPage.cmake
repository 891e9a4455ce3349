# Makes a C++ source of the page's files:
#   cmake -DOUTPUT=PageFiles.cpp -P EmbedPage.cmake FILE...
# "index.html" answers "/", every other file answers its name.

set(type_of_html "text/html; charset=utf-8")
set(type_of_css "text/css; charset=utf-8")
set(type_of_js "text/javascript; charset=utf-8")
set(type_of_svg "image/svg+xml")

# The files stand behind "-P EmbedPage.cmake".
set(first 0)
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(i RANGE ${last})
  if(CMAKE_ARGV${i} STREQUAL "-P")
    math(EXPR first "${i} + 2")
  endif()
endforeach()

set(entries "")
foreach(i RANGE ${first} ${last})
  set(file "${CMAKE_ARGV${i}}")
  file(READ "${file}" content)
  if(content MATCHES "[)]OrvPage\"")
    message(FATAL_ERROR "${file} holds the end mark of the source's texts")
  endif()
  cmake_path(GET file FILENAME name)
  cmake_path(GET file EXTENSION LAST_ONLY extension)
  string(SUBSTRING "${extension}" 1 -1 extension)
  set(target "/${name}")
  if(name STREQUAL "index.html")
    set(target "/")
  endif()
  string(APPEND entries "    {\"${target}\", \"${type_of_${extension}}\", R\"OrvPage(${content})OrvPage\"},\n")
endforeach()

file(WRITE "${OUTPUT}" "// Made by EmbedPage.cmake.
#include \"devserver/page/PageFiles.h\"

namespace orv::devserver {

namespace {

constexpr PageFile kFiles[] = {
${entries}};

}  // namespace

const PageFile* findPageFile(std::string_view target) {
  for (const PageFile& file : kFiles) {
    if (file.target == target) return &file;
  }
  return nullptr;
}

}  // namespace orv::devserver
")
