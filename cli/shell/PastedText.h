#pragma once

#include "cli/shell/Words.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace orv::cli {

/// Makes lines for the shell of what is pasted into a terminal, which marks the end of it. A line feed within the
/// brackets or quotes of a word, with the blanks that follow it, becomes one blank: a text of JSON is one line, however
/// it is laid out. Any other one ends the line. Control characters are left out.
class PastedText {
 public:
  /// What a terminal sends in front of a paste and behind it, and what makes it do so, or ends that.
  static constexpr std::string_view kBegin = "\x1b[200~";
  static constexpr std::string_view kEnd = "\x1b[201~";
  static constexpr std::string_view kAskForMarks = "\x1b[?2004h";
  static constexpr std::string_view kNoMarks = "\x1b[?2004l";
  /// What goes beyond it is left out.
  static constexpr std::size_t kMaxSize = std::size_t{4} << 20;

  enum class Step { More, LineEnd, PasteEnd };

  /// `before` is what stands in the line already.
  explicit PastedText(std::string_view before);

  /// Takes the next byte.
  Step feed(char byte);
  /// What belongs into the line.
  std::string take() { return std::move(text_); }

 private:
  Step feedText(char byte);

  WordState state_;
  std::string text_;
  /// How much of the mark behind the paste has come.
  std::size_t marked_ = 0;
  /// Whether a line feed and blanks wait to become one blank.
  bool broken_ = false;
};

}  // namespace orv::cli
