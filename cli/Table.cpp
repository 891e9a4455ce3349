#include "cli/Table.h"

#include <orvnetwork/data/Utf8.h>

#include "cli/TerminalText.h"
#include "cli/TextWidth.h"

#include <algorithm>
#include <numeric>

namespace orv::cli {

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastColumn = 4;
constexpr std::string_view kMissing = "…";

/// A text as it may stand in a row, on one line.
std::string inOneLine(std::string_view text) {
  std::string shown;
  for (const char c : printable(text)) shown += c == '\n' ? std::string("\\u000a") : std::string(1, c);
  return shown;
}

}  // namespace

std::string cutToWidth(std::string_view text, std::size_t width) {
  if (textWidth(text) <= width) return std::string(text);
  if (width == 0) return {};
  std::string cut;
  std::size_t used = textWidth(kMissing);
  while (!text.empty()) {
    const std::size_t length = std::max<std::size_t>(utf8SequenceLength(text), 1);
    const std::string_view character = text.substr(0, length);
    used += textWidth(character);
    if (used > width) break;
    cut += character;
    text.remove_prefix(length);
  }
  return cut.append(kMissing);
}

void Table::add(std::vector<std::string> row) {
  row.resize(columns_.size());
  for (std::string& cell : row) cell = inOneLine(cell);
  rows_.push_back(std::move(row));
}

std::vector<std::size_t> Table::widths(std::size_t width) const {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    widths.push_back(textWidth(columns_[i].title));
    for (const auto& row : rows_) widths[i] = std::max(widths[i], textWidth(row[i]));
  }
  const std::size_t gaps = kGap * (widths.empty() ? 0 : widths.size() - 1);
  while (!widths.empty() && std::accumulate(widths.begin(), widths.end(), gaps) > width) {
    const auto widest = std::ranges::max_element(widths);
    if (*widest <= kLeastColumn) break;
    --*widest;
  }
  return widths;
}

std::string Table::line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) const {
  std::string text;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string cell = cutToWidth(cells[i], widths[i]);
    const std::string room(widths[i] - std::min(widths[i], textWidth(cell)), ' ');
    if (i > 0) text += std::string(kGap, ' ');
    text += columns_[i].align == Align::Right ? room + cell : cell + room;
  }
  return text.erase(text.find_last_not_of(' ') + 1);
}

std::string Table::text(std::size_t width, bool bold) const {
  const std::vector<std::size_t> all = widths(width);
  std::vector<std::string> titles;
  for (const Column& column : columns_) titles.push_back(column.title);
  const std::string head = cutToWidth(line(titles, all), width);
  std::string text = (bold ? "\x1b[1m" + head + "\x1b[0m" : head) + "\n";
  // A terminal with fewer columns than the table has at least.
  for (const auto& row : rows_) text += cutToWidth(line(row, all), width) + "\n";
  return text;
}

}  // namespace orv::cli
