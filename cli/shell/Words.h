#pragma once

#include <cstddef>
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

/// What `splitWords` knows at each place of a line that is fed to it character by character.
class WordState {
 public:
  void feed(char c);
  /// Whether a quote or a bracket is open.
  bool open() const { return kind_ == Kind::Quoted || (kind_ == Kind::Word && (depth_ > 0 || inString_)); }

 private:
  enum class Kind { Between, Quoted, Word };

  void feedWord(char c);

  Kind kind_ = Kind::Between;
  std::size_t depth_ = 0;
  bool inString_ = false;
  bool isEscaped_ = false;
};

/// The words of a line. Blanks separate them.
std::vector<Word> splitWords(std::string_view line);

/// Whether a line may be kept: not when it holds a password, a token or a verification code, or may hold one.
bool holdsSecret(std::string_view line);

}  // namespace orv::cli
