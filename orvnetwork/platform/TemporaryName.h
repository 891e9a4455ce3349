#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

/// @file
/// Names of what the library lets lie on the disk for a moment only, like ".orv-0123456789abcdef.tmp": hidden, with digits
/// that chance has chosen and an ending that tells what it is. So whoever finds one later knows that a process has ended
/// too early.

namespace orv {

/// The ending of a file that is not complete yet and then takes another one's place.
inline constexpr std::string_view kIncompleteEnding = ".tmp";
/// The ending of what is deleted and waits for a worker that removes it.
inline constexpr std::string_view kDeletedEnding = ".deleted";

/// Such a name.
///
/// @param high, low random numbers, so that two programs do not take the same one
/// @param ending one of the endings above
inline std::string temporaryName(std::uint32_t high, std::uint32_t low, std::string_view ending) {
  std::array<char, 24> name{};
  std::snprintf(name.data(), name.size(), ".orv-%08x%08x", high, low);
  return name.data() + std::string(ending);
}

/// Whether a file's name is such a one.
inline bool isTemporaryName(std::string_view name, std::string_view ending) {
  constexpr std::string_view kBeginning = ".orv-";
  constexpr std::size_t kDigits = 16;
  if (name.size() != kBeginning.size() + kDigits + ending.size()) return false;
  return name.starts_with(kBeginning) && name.ends_with(ending) &&
         std::ranges::all_of(name.substr(kBeginning.size(), kDigits), [](char digit) {
           return (digit >= '0' && digit <= '9') || (digit >= 'a' && digit <= 'f');
         });
}

}  // namespace orv
