#pragma once

#include <string>

namespace orv::devserver {

/// Web address of something that the school offers, such as "cover/70001.jpg". Nothing answers there.
inline std::string address(const std::string& path) {
  return "https://classroom.example/" + path;
}

/// Address of a room's stream.
inline std::string streamAddress(const char* scheme, const char* kind, const std::string& room) {
  return std::string(scheme) + "://stream.classroom.example/" + kind + "/" + room;
}

}  // namespace orv::devserver
