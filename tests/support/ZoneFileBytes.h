#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

/// The bytes of a zone file, put together part by part.
struct ZoneFileBytes {
  struct Kind {
    std::int32_t offset;
    bool isDaylight;
    std::uint8_t abbreviation = 0;
  };
  struct Leap {
    std::int64_t since;
    std::int32_t correction;
  };
  char version = '2';
  std::vector<std::int64_t> moments;
  std::vector<std::uint8_t> kindNumbers;
  std::vector<Kind> kinds{{0, false}};
  std::string abbreviations{"AAA\0", 4};
  std::vector<Leap> leaps;
  /// Between line feeds at the end of a file of a later version than the first.
  std::string rule;

  std::string bytes() const {
    if (version == 0) return part(4);
    // Later readers pass over the first part, so an empty one will do.
    ZoneFileBytes empty;
    empty.version = version;
    return empty.part(4) + part(8) + '\n' + rule + '\n';
  }

  /// One part with moments of so many bytes.
  std::string part(int momentSize) const {
    std::string out = std::string("TZif") + version + std::string(15, '\0');
    for (const std::size_t count :
         {std::size_t{0}, std::size_t{0}, leaps.size(), moments.size(), kinds.size(), abbreviations.size()}) {
      append(out, static_cast<std::int64_t>(count), 4);
    }
    for (const std::int64_t moment : moments) append(out, moment, momentSize);
    for (const std::uint8_t number : kindNumbers) append(out, number, 1);
    for (const Kind& kind : kinds) {
      append(out, kind.offset, 4);
      append(out, kind.isDaylight ? 1 : 0, 1);
      append(out, kind.abbreviation, 1);
    }
    out += abbreviations;
    for (const Leap& leap : leaps) {
      append(out, leap.since, momentSize);
      append(out, leap.correction, 4);
    }
    return out;
  }

 private:
  static void append(std::string& out, std::int64_t number, int size) {
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
      out += static_cast<char>(static_cast<std::uint64_t>(number) >> shift & 0xFF);
    }
  }
};

}  // namespace orv::test
