#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

/// What a terminal shows of what is written to it, as far as the tests' programs write: ASCII, and the sequences of an
/// xterm that an editor of lines uses. Rows that have scrolled away stay.
class Screen {
 public:
  /// A terminal that `reflows` wraps its rows anew when its width changes; others leave them as they are, cut.
  Screen(std::size_t columns, bool reflows) : columns_(columns), reflows_(reflows) {}

  /// Takes more of what is written.
  void write(std::string_view bytes);
  void resize(std::size_t columns);
  /// Whether the terminal was asked for its cursor since the last call; `answer` is what it says.
  bool wasAsked();
  std::string answer() const;

  /// The rows, without blanks at their ends.
  std::vector<std::string> rows() const;
  /// Sequences that it does not know; empty when it has understood all.
  const std::string& unknown() const { return unknown_; }

 private:
  struct Row {
    std::string text;
    /// Whether it goes on in the next one.
    bool wraps = false;
  };

  Row& row(std::size_t index);
  void put(char c);
  void control(char c);
  void sequence(std::string_view parameters, char final);
  void eraseBelow();

  std::size_t columns_;
  const bool reflows_;
  std::vector<Row> rows_{Row{}};
  std::size_t y_ = 0, x_ = 0;
  bool inserts_ = false, asked_ = false;
  /// A sequence that has begun.
  std::string begun_;
  std::string unknown_;
};

}  // namespace orv::test
