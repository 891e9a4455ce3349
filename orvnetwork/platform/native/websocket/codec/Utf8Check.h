#pragma once

#include <cstddef>
#include <string_view>

namespace orv {

/// Checks a text that comes in pieces, cut anywhere, each byte once. It says no with the first byte behind which no text
/// can be right any more.
class Utf8Check {
 public:
  /// Takes notice of what stands behind the end of the last call.
  /// @param text all that has come so far; it may have moved
  /// @returns false when it cannot become UTF-8, whatever follows; then no more calls make sense
  bool goOn(std::string_view text);

  /// Whether what has come ends with a whole character.
  bool isWhole(std::string_view text) const { return checked_ == text.size(); }

  /// Begins with a new text.
  void restart() { checked_ = 0; }

 private:
  std::size_t checked_ = 0;  // up to here the text is whole characters
};

}  // namespace orv
