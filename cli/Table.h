#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::cli {

/// Rows of texts for a person at a terminal: each column as wide as its widest text, one line a row, and no line wider than
/// the terminal: the widest columns are cut, with "…" where something is missing. No control character of a text gets to the
/// terminal.
class Table {
 public:
  enum class Align { Left, Right };
  struct Column {
    std::string title;
    Align align = Align::Left;
  };

  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  /// As many texts as there are columns; those that are missing are empty.
  void add(std::vector<std::string> row);
  std::size_t size() const { return rows_.size(); }

  /// The titles and the rows for a terminal of so many columns. With `bold` the titles are.
  std::string text(std::size_t width, bool bold = false) const;

 private:
  std::vector<std::size_t> widths(std::size_t width) const;
  std::string line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) const;

  const std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

/// The front of a text that takes at most so many columns, with "…" at its end where something is missing.
std::string cutToWidth(std::string_view text, std::size_t width);

}  // namespace orv::cli
