#include "devserver/page/Secrets.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>

#include <algorithm>
#include <array>

namespace orv::devserver {

namespace json = boost::json;

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

bool isSecret(std::string_view name) {
  return std::any_of(kNames.begin(), kNames.end(), [&](std::string_view secret) {
    return std::equal(secret.begin(), secret.end(), name.begin(), name.end(),
                      [](char a, char b) { return a == lower(b); });
  });
}

/// Reads a text word by word and copies it, values under secret names left out.
class Copier {
 public:
  explicit Copier(std::string_view text) : text_(text) {}

  std::string copy() {
    while (at_ < text_.size()) {
      const std::string_view word = takeWord();
      copied_ += word;
      if (word.empty()) {
        copied_ += text_[at_++];
      } else if (isSecret(word) && copyUpToValue()) {
        hideValue();
      }
    }
    return std::move(copied_);
  }

 private:
  /// The word here. The letter of an escape such as \n is a word of its own, unless it begins a secret's name.
  std::string_view takeWord() {
    const std::size_t begin = at_;
    while (at_ < text_.size() && isWord(text_[at_])) ++at_;
    const bool escape = begin > 0 && text_[begin - 1] == '\\' && at_ > begin;
    if (escape && !isSecret(text_.substr(begin, at_ - begin))) at_ = begin + 1;
    return text_.substr(begin, at_ - begin);
  }

  /// Copies the name's closing quote and the ":" or "="; false, and nothing is copied, when none comes.
  bool copyUpToValue() {
    std::size_t end = at_;
    auto skip = [&](auto&& accepted) {
      while (end < text_.size() && accepted(text_[end])) ++end;
    };
    skip([](char c) { return c == '\\' || c == '"' || c == '\'' || isBlank(c); });
    if (end >= text_.size() || (text_[end] != ':' && text_[end] != '=')) return false;
    ++end;
    skip(isBlank);
    copied_ += text_.substr(at_, end - at_);
    at_ = end;
    return true;
  }

  /// Leaves out a quoted text or a plain word. Of anything else no end is looked for: the rest goes.
  void hideValue() {
    std::size_t escapes = 0;
    while (at_ + escapes < text_.size() && text_[at_ + escapes] == '\\') ++escapes;
    const std::size_t quoteAt = at_ + escapes;
    if (quoteAt < text_.size() && text_[quoteAt] == '"') {
      const std::string_view quote = text_.substr(at_, escapes + 1);
      at_ = quoteAt + 1;
      skipPastQuote(escapes);
      copied_.append(quote).append(kHiddenSecret).append(quote);
      return;
    }
    copied_ += kHiddenSecret;
    if (escapes > 0 || (at_ < text_.size() && !isPlain(text_[at_]))) at_ = text_.size();
    while (at_ < text_.size() && !endsPlainValue(text_[at_])) ++at_;
  }

  /// A quote within the text has more backslashes before it than its own quotes, and one around it has fewer.
  void skipPastQuote(std::size_t escapes) {
    for (std::size_t backslashes = 0; at_ < text_.size(); ++at_) {
      if (text_[at_] == '"') {
        if (backslashes < escapes) return;
        if (backslashes % (2 * (escapes + 1)) == escapes) {
          ++at_;
          return;
        }
      }
      backslashes = text_[at_] == '\\' ? backslashes + 1 : 0;
    }
  }

  static bool isPlain(char c) { return c != '{' && c != '[' && c != '(' && c != '\''; }
  static bool endsPlainValue(char c) {
    return isBlank(c) || c == ',' || c == ';' || c == '&' || c == '}' || c == ']' || c == ')' || c == '"' ||
           c == '\\';
  }

  const std::string_view text_;
  std::size_t at_ = 0;
  std::string copied_;
};

}  // namespace

std::string hideSecretsInText(std::string_view text) {
  return Copier(text).copy();
}

void hideSecrets(json::value& value) {
  if (json::object* object = value.if_object()) {
    for (auto& [key, member] : *object) {
      if (isSecret({key.data(), key.size()})) {
        member = json::string_view(kHiddenSecret.data(), kHiddenSecret.size());
      } else {
        hideSecrets(member);
      }
    }
  } else if (json::array* array = value.if_array()) {
    for (json::value& element : *array) hideSecrets(element);
  } else if (json::string* text = value.if_string()) {
    const std::string_view before(text->data(), text->size());
    const std::string after = hideSecretsInText(before);
    if (after != before) text->assign(after.data(), after.size());
  }
}

}  // namespace orv::devserver
