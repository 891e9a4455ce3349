#include "orvnetwork/data/Secrets.h"

#include <algorithm>
#include <array>

namespace orv {

namespace {

constexpr std::array<std::string_view, 7> kNames = {"pwd",  "pass",  "passwd", "opwd",
                                                    "npwd", "token", "scode"};

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isWord(char c) {
  return (lower(c) >= 'a' && lower(c) <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// The letter of a line feed, a tab or a carriage return in its escaped form.
bool isEscapedBlank(char c) {
  return c == 'n' || c == 't' || c == 'r';
}

bool isOpening(char c) {
  return c == '{' || c == '[' || c == '(';
}

bool isClosing(char c) {
  return c == '}' || c == ']' || c == ')';
}

char closingOf(char opening) {
  return opening == '{' ? '}' : opening == '[' ? ']' : ')';
}

/// How many more brackets are opened than closed.
std::ptrdiff_t openBrackets(std::string_view text) {
  return std::count_if(text.begin(), text.end(), isOpening) -
         std::count_if(text.begin(), text.end(), isClosing);
}

bool isSame(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

/// Reads a text word by word and copies it, values under secret names left out.
class Copier {
 public:
  Copier(std::string_view text, std::string_view another)
      : text_(text), another_(another), openElsewhere_(openBrackets(text)) {}

  std::string copy() {
    copied_.reserve(text_.size());
    while (!atEnd()) {
      const std::string_view word = takeWord();
      copied_ += word;
      if (word.empty()) {
        copied_ += text_[at_++];
      } else if (isSecretName(word, another_) && copyUpToValue()) {
        hideValue();
      }
    }
    return std::move(copied_);
  }

 private:
  bool atEnd() const { return at_ >= text_.size(); }

  /// The word here. The letter of an escape such as \n is a word of its own, unless it begins a secret's name.
  std::string_view takeWord() {
    const std::size_t begin = at_;
    while (!atEnd() && isWord(text_[at_])) ++at_;
    const bool escape = begin > 0 && text_[begin - 1] == '\\' && at_ > begin;
    if (escape && !isSecretName(text_.substr(begin, at_ - begin), another_)) at_ = begin + 1;
    return text_.substr(begin, at_ - begin);
  }

  /// Copies the name's closing quote, blanks and the ":" or "="; false, and nothing is copied, when none comes.
  bool copyUpToValue() {
    std::size_t end = at_;
    const auto isBetween = [&](char c) {
      return isBlank(c) || c == '\\' || c == '"' || c == '\'' ||
             (isEscapedBlank(c) && text_[end - 1] == '\\');
    };
    while (end < text_.size() && isBetween(text_[end])) ++end;
    if (end >= text_.size() || (text_[end] != ':' && text_[end] != '=')) return false;
    ++end;
    while (end < text_.size() && isBlank(text_[end])) ++end;
    copied_ += text_.substr(at_, end - at_);
    at_ = end;
    return true;
  }

  void hideValue() {
    const std::size_t begin = at_;
    // What was a quoted text stays one, so that JSON stays JSON.
    const auto escapes = quote();
    const std::string_view quotes = escapes ? text_.substr(at_, *escapes + 1) : std::string_view();
    skipValue();
    openElsewhere_ -= openBrackets(text_.substr(begin, at_ - begin));
    const bool isNested = begin < text_.size() && isOpening(text_[begin]);
    if (isNested && openElsewhere_ != 0) at_ = text_.size();
    copied_.append(quotes).append(kHiddenSecret).append(quotes);
  }

  void skipValue() {
    if (atEnd()) return;
    if (const auto escapes = quote()) return skipQuoted(*escapes);
    if (isOpening(text_[at_])) return skipNested();
    if (text_[at_] == '\'' || text_[at_] == '\\') return skipRest();
    skipPlain();
  }

  /// Where the backslashes end that stand here.
  std::size_t pastBackslashes() const { return std::min(text_.find_first_not_of('\\', at_), text_.size()); }

  /// The number of backslashes before the double quote that stands here; absent when none stands here.
  std::optional<std::size_t> quote() const {
    const std::size_t end = pastBackslashes();
    if (end == text_.size() || text_[end] != '"') return std::nullopt;
    return end - at_;
  }

  /// A word ends where a text around it goes on: at a blank, a quote, a bracket that closes, or a separator.
  void skipPlain() {
    for (; !atEnd(); ++at_) {
      const char c = text_[at_];
      if (isBlank(c) || isClosing(c) || c == ',' || c == ';' || c == '&' || c == '"') return;
      if (c != '\\') continue;
      const std::size_t next = pastBackslashes();
      if (next < text_.size() && (text_[next] == '"' || isEscapedBlank(text_[next]))) return;
      at_ = next - 1;
    }
  }

  /// `escapes` is the number of backslashes before the text's quotes: a quote inside it has more of them, and one
  /// with fewer ends a text around it.
  void skipQuoted(std::size_t escapes) {
    at_ += escapes + 1;
    while (!atEnd()) {
      const std::size_t next = pastBackslashes();
      const std::size_t backslashes = next - at_;
      if (next < text_.size() && text_[next] == '"') {
        if (backslashes < escapes) return;
        at_ = next + 1;
        if (backslashes % (2 * (escapes + 1)) == escapes) return;
      } else {
        at_ = std::min(next + 1, text_.size());
      }
    }
  }

  /// Goes behind the bracket that closes the one here; to the end when that cannot be told.
  void skipNested() {
    std::string closing;
    while (!atEnd()) {
      if (const auto escapes = quote()) {
        skipQuoted(*escapes);
        continue;
      }
      at_ = pastBackslashes();
      if (atEnd()) return;
      const char c = text_[at_];
      if (c == '\'') return skipRest();
      if (isOpening(c)) closing += closingOf(c);
      if (isClosing(c)) {
        if (c != closing.back()) return skipRest();
        closing.pop_back();
      }
      ++at_;
      if (closing.empty()) return;
    }
  }

  void skipRest() { at_ = text_.size(); }

  const std::string_view text_;
  const std::string_view another_;
  std::size_t at_ = 0;
  /// How many more brackets are opened than closed outside what has been hidden.
  std::ptrdiff_t openElsewhere_;
  std::string copied_;
};

}  // namespace

bool isSecretName(std::string_view name, std::string_view another) {
  if (!another.empty() && isSame(another, name)) return true;
  return std::any_of(kNames.begin(), kNames.end(),
                     [&](std::string_view secret) { return isSame(secret, name); });
}

std::string hideSecrets(std::string_view text, std::string_view another) {
  return Copier(text, another).copy();
}

void hideSecretsInPlace(json::value& value, std::string_view another) {
  if (json::object* const object = value.if_object()) {
    for (auto& [key, member] : *object) {
      if (isSecretName(key, another)) {
        member = json::string_view(kHiddenSecret);
      } else {
        hideSecretsInPlace(member, another);
      }
    }
  } else if (json::array* const array = value.if_array()) {
    for (json::value& element : *array) hideSecretsInPlace(element, another);
  } else if (json::string* const text = value.if_string()) {
    const std::string_view before(*text);
    const std::string after = hideSecrets(before, another);
    if (after != before) *text = after;
  }
}

}  // namespace orv
