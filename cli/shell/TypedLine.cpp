#include "cli/shell/TypedLine.h"

#include <algorithm>
#include <charconv>
#include <cwchar>
#include <system_error>

namespace orv::cli {

ScreenPlace placeBehind(std::wstring_view text, std::size_t columns) {
  ScreenPlace place;
  for (const wchar_t c : text) {
    const auto width = static_cast<std::size_t>(std::max(::wcwidth(c), 0));
    if (place.column + width > columns) place = {place.row + 1, 0};
    place.column += width;
    if (place.column >= columns) place = {place.row + 1, 0};
  }
  return place;
}

std::wstring widened(std::string_view text) {
  std::wstring wide;
  std::mbstate_t state{};
  while (!text.empty()) {
    wchar_t c = 0;
    const std::size_t size = std::mbrtowc(&c, text.data(), text.size(), &state);
    if (size > text.size()) {
      state = {};
      text.remove_prefix(1);
      continue;
    }
    wide += c;
    text.remove_prefix(std::max<std::size_t>(size, 1));
  }
  return wide;
}

std::optional<std::size_t> takeReportedColumn(std::string& bytes) {
  const std::size_t end = bytes.find('R');
  const std::size_t begin = end == std::string::npos ? end : bytes.rfind("\x1b[", end);
  if (begin == std::string::npos) return std::nullopt;
  std::size_t row = 0, column = 0;
  const char* const last = bytes.data() + end;
  const auto rowEnd = std::from_chars(bytes.data() + begin + 2, last, row);
  if (rowEnd.ec != std::errc() || rowEnd.ptr == last || *rowEnd.ptr != ';') return std::nullopt;
  const auto columnEnd = std::from_chars(rowEnd.ptr + 1, last, column);
  if (columnEnd.ec != std::errc() || columnEnd.ptr != last || column == 0) return std::nullopt;
  bytes.erase(begin, end - begin + 1);
  return column - 1;
}

std::string erasureFrom(std::size_t rowsAbove) {
  std::string text = "\r";
  if (rowsAbove > 0) text += "\x1b[" + std::to_string(rowsAbove) + "A";
  return text + "\x1b[J";
}

}  // namespace orv::cli
