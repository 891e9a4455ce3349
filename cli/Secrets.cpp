#include "cli/Secrets.h"

#include <algorithm>
#include <array>
#include <optional>

namespace orv::cli {

namespace {

constexpr std::array<std::string_view, 7> kSecretKeys = {"passwd", "pass",  "pwd",  "opwd",
                                                         "npwd",   "token", "scode"};

bool isWord(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Reads a text from a place on.
class Scanner {
 public:
  Scanner(std::string_view text, std::size_t at) : text_(text), at_(at) {}

  std::size_t at() const { return at_; }
  bool atEnd() const { return at_ >= text_.size(); }
  char peek() const { return text_[at_]; }
  void skip(std::size_t count = 1) { at_ += count; }

  std::size_t backslashes() const {
    std::size_t count = 0;
    while (at_ + count < text_.size() && text_[at_ + count] == '\\') ++count;
    return count;
  }

  /// Blanks, and line feeds and tabs in their escaped forms.
  void skipBlanks() {
    while (!atEnd()) {
      const std::size_t escapes = backslashes();
      const std::size_t next = at_ + escapes;
      if (next >= text_.size()) return;
      const char c = text_[next];
      const bool blank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
      const bool escapedBlank = c == 'n' || c == 't' || c == 'r';
      if (escapes == 0 ? !blank : !escapedBlank) return;
      at_ = next + 1;
    }
  }

  /// The number of backslashes before the quote that stands here; absent when none stands here.
  std::optional<std::size_t> quote() const {
    const std::size_t escapes = backslashes();
    if (at_ + escapes >= text_.size() || text_[at_ + escapes] != '"') return std::nullopt;
    return escapes;
  }

  /// Goes behind the end of a quoted text. `escapes` is the number of backslashes before its quotes, so a
  /// quote inside it has more of them, and one with fewer ends a text around it.
  void skipQuoted(std::size_t escapes) {
    skip(escapes + 1);
    while (!atEnd()) {
      const std::size_t run = backslashes();
      if (at_ + run >= text_.size()) return skip(run);
      if (text_[at_ + run] != '"') {
        skip(run + 1);
        continue;
      }
      if (run < escapes) return;
      skip(run + 1);
      if (run % (2 * (escapes + 1)) == escapes) return;
    }
  }

  /// Goes behind the value that stands here, whatever it is.
  void skipValue() {
    if (atEnd()) return;
    if (const auto escapes = quote()) return skipQuoted(*escapes);
    if (isOpening(peek())) return skipNested();
    while (!atEnd() && !endsPlainValue(peek())) skip();
  }

 private:
  static bool isOpening(char c) { return c == '{' || c == '[' || c == '('; }
  static bool isClosing(char c) { return c == '}' || c == ']' || c == ')'; }
  static bool endsPlainValue(char c) {
    return isClosing(c) || c == ',' || c == ';' || c == '&' || c == '"' || c == '\\' || c == ' ' ||
           c == '\t' || c == '\n' || c == '\r';
  }

  void skipNested() {
    std::size_t depth = 0;
    while (!atEnd()) {
      if (const auto escapes = quote()) {
        skipQuoted(*escapes);
        continue;
      }
      if (isOpening(peek())) ++depth;
      if (isClosing(peek()) && --depth == 0) return skip();
      skip();
    }
  }

  std::string_view text_;
  std::size_t at_;
};

/// The length of a secret key's name at this place; 0 when there is none.
std::size_t secretKeyAt(std::string_view text, std::size_t at) {
  for (const std::string_view key : kSecretKeys) {
    if (text.size() - at < key.size()) continue;
    const bool same = std::equal(key.begin(), key.end(), text.begin() + static_cast<std::ptrdiff_t>(at),
                                 [](char a, char b) { return a == lower(b); });
    const std::size_t end = at + key.size();
    if (same && (end == text.size() || !isWord(text[end]))) return key.size();
  }
  return 0;
}

/// Where the value under a key that ends at `keyEnd` begins; absent when what follows is no value.
std::optional<std::size_t> valueAfter(std::string_view text, std::size_t keyEnd) {
  Scanner scanner(text, keyEnd);
  if (const auto escapes = scanner.quote()) scanner.skip(*escapes + 1);
  scanner.skipBlanks();
  if (scanner.atEnd() || (scanner.peek() != ':' && scanner.peek() != '=')) return std::nullopt;
  scanner.skip();
  scanner.skipBlanks();
  return scanner.at();
}

/// Whether a name may begin here: behind a letter only when that belongs to an escaped blank ("\n").
bool beginsName(std::string_view text, std::size_t at) {
  if (at == 0 || !isWord(text[at - 1])) return true;
  const char before = text[at - 1];
  return at >= 2 && text[at - 2] == '\\' && (before == 'n' || before == 't' || before == 'r');
}

}  // namespace

std::string hideSecrets(std::string_view text) {
  std::string shown;
  std::size_t copied = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = beginsName(text, at) ? secretKeyAt(text, at) : 0;
    const auto value = length == 0 ? std::nullopt : valueAfter(text, at + length);
    if (!value) {
      ++at;
      continue;
    }
    Scanner scanner(text, *value);
    // What was a quoted text stays one, so that JSON stays JSON.
    const auto escapes = scanner.quote();
    const std::string_view quote = escapes ? text.substr(*value, *escapes + 1) : std::string_view();
    scanner.skipValue();
    shown.append(text.substr(copied, *value - copied)).append(quote).append(kHidden).append(quote);
    at = copied = scanner.at();
  }
  return shown.append(text.substr(copied));
}

}  // namespace orv::cli
