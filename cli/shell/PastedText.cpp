#include "cli/shell/PastedText.h"

namespace orv::cli {

PastedText::PastedText(std::string_view before) {
  for (const char c : before) state_.feed(c);
}

PastedText::Step PastedText::feed(char byte) {
  if (byte == kEnd[marked_]) {
    if (++marked_ < kEnd.size()) return Step::More;
    marked_ = 0;
    return Step::PasteEnd;
  }
  // It was another sequence: its letters are text, but for the first one.
  for (std::size_t i = 1; i < marked_; ++i) feedText(kEnd[i]);
  marked_ = byte == kEnd[0] ? 1 : 0;
  return marked_ > 0 ? Step::More : feedText(byte);
}

PastedText::Step PastedText::feedText(char byte) {
  constexpr char kDelete = 0x7F;
  if (byte == '\r' || byte == '\n') {
    if (!state_.open()) return Step::LineEnd;
    broken_ = true;
    return Step::More;
  }
  const char c = byte == '\t' ? ' ' : byte;
  const bool isControl = (c >= 0 && c < ' ') || c == kDelete;
  if (isControl || (broken_ && c == ' ') || text_.size() >= kMaxSize) return Step::More;
  if (broken_) {
    text_ += ' ';
    state_.feed(' ');
    broken_ = false;
  }
  text_ += c;
  state_.feed(c);
  return Step::More;
}

}  // namespace orv::cli
