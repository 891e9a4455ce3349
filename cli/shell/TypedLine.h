#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

/// A place on the screen, counted from where a line begins.
struct ScreenPlace {
  std::size_t row = 0;
  std::size_t column = 0;
};

/// Where the cursor stands behind a text on a screen of so many columns. A character of two columns that does not fit
/// into the last one goes to the next row. The locale must be one of UTF-8.
ScreenPlace placeBehind(std::wstring_view text, std::size_t columns);

/// A text of the locale's encoding as wide characters; what is none is left out.
std::wstring widened(std::string_view text);

/// What goes up so many rows, to the beginning of the row, and clears the screen from there on.
std::string erasureFrom(std::size_t rowsAbove);

/// Takes the answer of a terminal to "ESC [ 6 n", the question for its cursor, out of what was typed: the column, counted
/// from 0; absent where no whole answer is there.
std::optional<std::size_t> takeReportedColumn(std::string& bytes);

}  // namespace orv::cli
