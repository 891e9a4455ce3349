#include "orvnetwork/transport/detail/TraceText.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/data/Url.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

namespace {

/// A name that hosts give passwords beside those that are on the wire.
constexpr std::string_view kAnotherSecretName = "password";
/// Values of a message that would take more are not looked at.
constexpr std::size_t kMostTraceMemory = std::size_t{64} << 20;

// --- Secrets hidden

void hideDeep(json::value& value);

std::string hideInText(std::string_view text) {
  // What is JSON is read as JSON: names may be written with escapes in it.
  if (auto parsed = parseJsonWithin(text, kMostTraceMemory)) {
    hideDeep(parsed->value);
    return writeJsonCompact(parsed->value).valueOr(sizeText(text.size()));
  }
  // A name with escapes that cannot be read could be a secret's.
  if (text.find("\\u") != std::string_view::npos) return sizeText(text.size());
  return hideSecrets(text, kAnotherSecretName);
}

void hideInObject(json::object& object) {
  json::object shown(object.storage());
  shown.reserve(object.size());
  for (auto& member : object) {
    json::value value;
    if (isSecretName(member.key(), kAnotherSecretName)) {
      value = json::string_view(kHiddenSecret);
    } else {
      value = std::move(member.value());
      hideDeep(value);
    }
    shown.insert_or_assign(hideSecrets(member.key(), kAnotherSecretName), std::move(value));
  }
  object = std::move(shown);
}

void hideDeep(json::value& value) {
  if (json::object* const object = value.if_object()) {
    hideInObject(*object);
  } else if (json::array* const array = value.if_array()) {
    for (json::value& element : *array) hideDeep(element);
  } else if (json::string* const text = value.if_string()) {
    *text = hideInText(*text);
  }
}

// --- For strangers

/// Members whose values are looked into.
constexpr std::array<std::string_view, 3> kContainers = {"v", "data", "list"};
/// Members whose short words are shown: commands and versions.
constexpr std::array<std::string_view, 3> kWords = {"c", "C", "b"};
/// Members whose numbers are shown: those of every frame, and of paging.
constexpr std::array<std::string_view, 9> kNumbers = {"s",     "r",    "a",     "ret", "start",
                                                      "count", "page", "total", "size"};
constexpr std::size_t kLongestWord = 64;

bool contains(const auto& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isLetterOfWord(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(c) || c == '.' || c == '-' || c == '_';
}

/// The value of an allowed member, unless it is longer or of another kind than it should be.
json::value shownValue(std::string_view key, const json::value& value) {
  const json::string* const text = value.if_string();
  if (text == nullptr) return contains(kNumbers, key) ? value : json::value(kHiddenSecret);
  const bool isShown =
      text->size() <= kLongestWord &&
      std::all_of(text->begin(), text->end(), contains(kWords, key) ? isLetterOfWord : isDigit);
  return isShown ? value : json::value(sizeText(text->size()));
}

json::value shareable(const json::value& value);

json::object shareable(const json::object& object) {
  json::object shown;
  std::uint64_t leftOut = 0;
  for (const auto& [key, value] : object) {
    if (value.is_structured() && contains(kContainers, key)) {
      shown.emplace(key, shareable(value));
    } else if (!value.is_structured() && (contains(kWords, key) || contains(kNumbers, key))) {
      shown.emplace(key, shownValue(key, value));
    } else {
      ++leftOut;
    }
  }
  if (leftOut > 0) shown.emplace("hidden", leftOut);
  return shown;
}

json::value shareable(const json::value& value) {
  if (const json::object* const object = value.if_object()) return shareable(*object);
  json::array shown;
  if (const json::array* const array = value.if_array()) {
    for (const json::value& element : *array) {
      shown.push_back(element.is_structured() ? shareable(element) : json::value(kHiddenSecret));
    }
  }
  return shown;
}

}  // namespace

TraceText traceTextOf(std::string_view message, TraceMode mode) {
  if (message == "PING" || message == "PONG") return {std::string(message), false};
  auto parsed = parseJsonWithin(message, kMostTraceMemory);
  if (!parsed) return {sizeText(message.size()), false};
  if (mode == TraceMode::Shareable) {
    parsed->value = shareable(parsed->value);
  } else {
    hideDeep(parsed->value);
  }
  auto written = writeJsonCompact(parsed->value);
  if (!written) return {sizeText(message.size()), false};
  return {*std::move(written), true};
}

std::string sizeText(std::size_t bytes) {
  return "(" + std::to_string(bytes) + (bytes == 1 ? " byte)" : " bytes)");
}

std::string addressText(std::string_view url) {
  const auto parts = parseUrl(url);
  if (!parts) return sizeText(url.size());
  const HostAndPort& server = parts->server;
  std::string text = parts->scheme + "://";
  text += server.isInBrackets ? "[" + server.host + "]" : server.host;
  if (server.port != 0) text += ":" + std::to_string(server.port);
  return text + hideSecrets(parts->target, kAnotherSecretName);
}

}  // namespace orv
