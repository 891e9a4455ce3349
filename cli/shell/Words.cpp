#include "cli/shell/Words.h"

#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Secrets.h>

#include <algorithm>
#include <array>

namespace orv::cli {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

/// Where a JSON string that begins here ends: behind its closing quote, or at the end of the line.
std::size_t endOfString(std::string_view line, std::size_t at, bool& open) {
  for (++at; at < line.size(); ++at) {
    if (line[at] == '\\') {
      ++at;
    } else if (line[at] == '"') {
      return at + 1;
    }
  }
  open = true;
  return line.size();
}

/// Where a word that begins here ends: at the first blank outside its brackets and quotes.
std::size_t endOfWord(std::string_view line, std::size_t at, bool& open) {
  std::size_t depth = 0;
  while (at < line.size() && (depth > 0 || kBlanks.find(line[at]) == std::string_view::npos)) {
    if (line[at] == '"') {
      at = endOfString(line, at, open);
      continue;
    }
    if (line[at] == '{' || line[at] == '[') ++depth;
    if ((line[at] == '}' || line[at] == ']') && depth > 0) --depth;
    ++at;
  }
  open = open || depth > 0;
  return at;
}

/// Whether a text has a name of a secret in it. A mistyped operation still says what follows.
bool hasSecretName(std::string_view text) {
  static constexpr std::array<std::string_view, 6> kNames = {"pass",  "pwd",   "token",
                                                             "scode", "code:", "secret"};
  const auto isSame = [](char a, char b) { return a == b || (a >= 'A' && a <= 'Z' && a - 'A' + 'a' == b); };
  return std::ranges::any_of(
      kNames, [&](std::string_view name) { return !std::ranges::search(text, name, isSame).empty(); });
}

}  // namespace

std::string Word::plain() const {
  if (!text.starts_with('"')) return text;
  const Result<json::value> parsed = parseJson("[" + text + "]");
  const json::array* const one = parsed ? parsed->if_array() : nullptr;
  if (one == nullptr || one->size() != 1 || !one->front().is_string()) return text;
  return std::string(std::string_view(one->front().get_string()));
}

void WordState::feed(char c) {
  if (kind_ == Kind::Quoted) {
    if (c == '\'') kind_ = Kind::Between;
  } else if (kind_ == Kind::Word) {
    feedWord(c);
  } else if (c == '\'') {
    kind_ = Kind::Quoted;
  } else if (kBlanks.find(c) == std::string_view::npos) {
    kind_ = Kind::Word;
    feedWord(c);
  }
}

void WordState::feedWord(char c) {
  if (inString_) {
    inString_ = isEscaped_ || c != '"';
    isEscaped_ = !isEscaped_ && c == '\\';
  } else if (c == '"') {
    inString_ = true;
  } else if (c == '{' || c == '[') {
    ++depth_;
  } else if ((c == '}' || c == ']') && depth_ > 0) {
    --depth_;
  } else if (depth_ == 0 && kBlanks.find(c) != std::string_view::npos) {
    kind_ = Kind::Between;
  }
}

std::vector<Word> splitWords(std::string_view line) {
  std::vector<Word> words;
  std::size_t at = 0;
  while ((at = line.find_first_not_of(kBlanks, at)) != std::string_view::npos) {
    Word word{{}, at, false};
    if (line[at] == '\'') {
      const std::size_t end = line.find('\'', at + 1);
      word.open = end == std::string_view::npos;
      word.text = line.substr(at + 1, word.open ? end : end - at - 1);
      at = word.open ? line.size() : end + 1;
    } else {
      const std::size_t end = endOfWord(line, at, word.open);
      word.text = line.substr(at, end - at);
      at = end;
    }
    words.push_back(std::move(word));
  }
  return words;
}

bool holdsSecret(std::string_view line) {
  if (hideSecrets(line) != line || hasSecretName(line)) return true;
  // Not every operation names its secret parameters in its own name.
  return std::ranges::any_of(splitWords(line), [](const Word& word) {
    const Operation* const operation = OperationRegistry::standard().find(word.text);
    return operation != nullptr &&
           std::ranges::any_of(operation->parameters, hasSecretName, &OperationParameter::name);
  });
}

}  // namespace orv::cli
