#include "devserver/control/ControlFields.h"

#include <boost/json/serialize.hpp>

#include <algorithm>
#include <stdexcept>

namespace orv::devserver {

namespace {

std::string quoted(std::string_view key) {
  return "\"" + std::string(key) + "\"";
}

[[noreturn]] void expected(std::string_view key, std::string_view what) {
  throw std::invalid_argument(quoted(key) + ": expected " + std::string(what));
}

}  // namespace

const json::value* ControlFields::find(std::string_view key) {
  known_.emplace_back(key);
  return object_.if_contains({key.data(), key.size()});
}

const json::value& ControlFields::need(std::string_view key, std::string_view what) {
  const json::value* value = find(key);
  if (value == nullptr) expected(key, std::string(what) + ", found nothing");
  return *value;
}

std::string ControlFields::text(std::string_view key) {
  const json::value& value = need(key, "text");
  if (!value.is_string()) expected(key, "text");
  return {value.get_string().data(), value.get_string().size()};
}

std::string ControlFields::text(std::string_view key, std::string fallback) {
  return has(key) ? text(key) : (find(key), std::move(fallback));
}

std::optional<std::string> ControlFields::textOrNull(std::string_view key) {
  if (need(key, "text or null").is_null()) return std::nullopt;
  return text(key);
}

std::size_t ControlFields::choice(std::string_view key, const std::vector<std::string_view>& choices) {
  std::string list = "one of";
  for (std::string_view choice : choices) list += " " + quoted(choice);
  const json::value& value = need(key, list);
  const json::string* given = value.if_string();
  auto found = given == nullptr ? choices.end()
                                : std::find(choices.begin(), choices.end(),
                                            std::string_view(given->data(), given->size()));
  if (found == choices.end()) expected(key, list);
  return static_cast<std::size_t>(found - choices.begin());
}

std::int64_t ControlFields::number(std::string_view key, std::int64_t lowest, std::int64_t highest) {
  const std::string what = "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest);
  const std::int64_t* number = need(key, what).if_int64();
  if (number == nullptr || *number < lowest || *number > highest) expected(key, what);
  return *number;
}

std::int64_t ControlFields::number(std::string_view key, std::int64_t lowest, std::int64_t highest,
                                   std::int64_t fallback) {
  return has(key) ? number(key, lowest, highest) : (find(key), fallback);
}

bool ControlFields::flag(std::string_view key) {
  const json::value& value = need(key, "true or false");
  if (!value.is_bool()) expected(key, "true or false");
  return value.get_bool();
}

bool ControlFields::flag(std::string_view key, bool fallback) {
  return has(key) ? flag(key) : (find(key), fallback);
}

json::object ControlFields::object(std::string_view key) {
  const json::value* value = find(key);
  if (value == nullptr) return {};
  if (!value->is_object()) expected(key, "an object");
  return value->get_object();
}

std::string ControlFields::bytes(std::string_view key) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const std::string what = "an even number of hexadecimal digits (0-9, a-f)";
  const std::string digits = text(key);
  if (digits.size() % 2 != 0) expected(key, what);
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const std::size_t high = kDigits.find(digits[i]), low = kDigits.find(digits[i + 1]);
    if (high == kDigits.npos || low == kDigits.npos) expected(key, what);
    bytes += static_cast<char>(high * 16 + low);
  }
  return bytes;
}

void ControlFields::end() const {
  for (const auto& [key, value] : object_) {
    const std::string_view name(key.data(), key.size());
    if (std::find(known_.begin(), known_.end(), name) != known_.end()) continue;
    std::string list;
    for (const std::string& known : known_) {
      if (list.find(quoted(known)) == std::string::npos) list += " " + quoted(known);
    }
    throw std::invalid_argument("unknown member " + quoted(name) + ": expected here are" + list);
  }
}

}  // namespace orv::devserver
