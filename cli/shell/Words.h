#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

/// A word of a line of the shell.
struct Word {
  /// As it stands there, but without single quotes around it; a JSON text is one word, whatever blanks it holds.
  std::string text;
  /// Where it begins in the line.
  std::size_t at = 0;
  /// Whether a quote or a bracket of it is still open at the end of the line.
  bool open = false;

  /// For those who want no JSON: what stands in its double quotes, or the text.
  std::string plain() const;
};

/// The words of a line. Blanks separate them.
std::vector<Word> splitWords(std::string_view line);

/// Whether a line may be kept: not when it holds a password, a token or a verification code, or may hold one.
bool holdsSecret(std::string_view line);

}  // namespace orv::cli
