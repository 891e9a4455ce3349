#pragma once

#include <orvnetwork/data/Types.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace orv::test {

/// Makes JSON values without nulls, the same ones from the same seed.
class RandomJson {
 public:
  explicit RandomJson(unsigned seed) : random_(seed) {}

  /// A value that nests at most `depth` levels of arrays and dictionaries.
  json::value value(unsigned depth) {
    switch (below(depth > 0 ? 8 : 5)) {
      case 0:
        return below(2) == 0;
      case 1:
        return integer();
      case 2:
        return real();
      case 3:
      case 4:
        return json::string(text());
      case 5:
        return array(depth - 1);
      default:
        return dictionary(depth - 1);
    }
  }

  json::object dictionary(unsigned depth) {
    json::object members;
    for (std::size_t left = below(6); left > 0; --left) members.insert_or_assign(text(), value(depth));
    return members;
  }

  json::array array(unsigned depth) {
    json::array items;
    for (std::size_t left = below(6); left > 0; --left) items.push_back(value(depth));
    return items;
  }

  std::size_t below(std::size_t bound) { return random_() % bound; }

 private:
  json::value integer() {
    const std::uint64_t bits = random_() >> below(64);
    if (below(2) == 0) return -static_cast<std::int64_t>(bits >> 1) - 1;
    // The kind that a reader gives it.
    if (bits <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      return static_cast<std::int64_t>(bits);
    }
    return bits;
  }

  double real() {
    if (below(3) == 0) return static_cast<double>(below(100'000)) / 100;
    const auto any = std::bit_cast<double>(random_());
    return std::isfinite(any) ? any : 0.1;
  }

  std::string text() {
    static constexpr const char* kPieces[] = {"a",           "Z",  "0",   "_",     " ",     "<", ">",
                                              "&",           "\"", "'",   "\n",    "\t",    "é", "文",
                                              "👩‍🏫", "Ａ", "]]>", "&amp;", "<date>"};
    std::string text;
    for (std::size_t left = below(9); left > 0; --left) text += kPieces[below(std::size(kPieces))];
    return text;
  }

  std::mt19937_64 random_;
};

}  // namespace orv::test
