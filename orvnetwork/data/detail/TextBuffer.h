#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

/// A text that grows at its end by many short pieces: each is copied to its place without being counted into the string
/// by itself.
class TextBuffer {
 public:
  /// @param size room that is made at once, in bytes
  explicit TextBuffer(std::size_t size) : text_(size, 0) {}

  /// Room for so many bytes behind what is there; `used` tells how many of them have been filled.
  char* room(std::size_t size) {
    if (text_.size() - size_ < size) text_.resize(std::max(2 * text_.size(), size_ + size));
    return text_.data() + size_;
  }
  /// @param end behind the last byte that was filled of what `room` returned
  void used(const char* end) { size_ = static_cast<std::size_t>(end - text_.data()); }

  void append(char c) {
    *room(1) = c;
    ++size_;
  }
  void append(std::string_view text) {
    std::memcpy(room(text.size()), text.data(), text.size());
    size_ += text.size();
  }
  void append(std::size_t count, char c) {
    std::memset(room(count), c, count);
    size_ += count;
  }

  std::string take() && {
    text_.resize(size_);
    return std::move(text_);
  }

 private:
  std::string text_;
  std::size_t size_ = 0;
};

}  // namespace orv
