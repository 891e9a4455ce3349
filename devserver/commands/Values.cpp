#include "devserver/commands/Values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ctime>
#include <limits>
#include <system_error>

namespace orv::devserver {

namespace {

std::optional<std::int64_t> wholeNumber(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::optional<std::int64_t> wholeNumber(const json::value& value) {
  if (value.is_int64()) return value.get_int64();
  if (value.is_bool()) return static_cast<std::int64_t>(value.get_bool());
  if (const json::string* text = value.if_string()) {
    return wholeNumber(std::string_view(text->data(), text->size()));
  }
  if (value.is_double() && std::trunc(value.get_double()) == value.get_double() &&
      std::abs(value.get_double()) < 9e15) {
    return static_cast<std::int64_t>(value.get_double());
  }
  return std::nullopt;
}

/// Reads "yyyy-MM-dd HH:mm" or the same with ":ss" as local time.
std::optional<std::int64_t> localTime(const std::string& text) {
  for (const char* format : {"%Y-%m-%d %H:%M:%S", "%Y-%m-%d %H:%M"}) {
    std::tm parts{};
    const char* end = strptime(text.c_str(), format, &parts);
    if (end == nullptr || *end != '\0') continue;
    parts.tm_isdst = -1;
    return static_cast<std::int64_t>(std::mktime(&parts));
  }
  return std::nullopt;
}

}  // namespace

void refuseValue(std::string_view key) {
  throw Refused(result::kMissingValue, "missing or not usable: " + std::string(key));
}

const json::value* Values::find(std::string_view key) const {
  const json::value* value = values_.if_contains(key);
  if (value == nullptr || value->is_null()) return nullptr;
  const json::string* text = value->if_string();
  return text != nullptr && text->empty() ? nullptr : value;
}

bool Values::has(std::string_view key) const {
  return find(key) != nullptr;
}

std::string Values::text(std::string_view key) const {
  const json::value* value = find(key);
  if (value == nullptr) refuseValue(key);
  if (const json::string* text = value->if_string(); text != nullptr && text->size() <= kMaxText) {
    return {text->data(), text->size()};
  }
  if (!value->is_number()) refuseValue(key);
  return std::to_string(wholeNumber(*value).value_or(0));
}

std::string Values::text(std::string_view key, std::string fallback) const {
  return has(key) ? text(key) : std::move(fallback);
}

std::int64_t Values::number(std::string_view key) const {
  const json::value* value = find(key);
  const auto number = value == nullptr ? std::nullopt : wholeNumber(*value);
  if (!number) refuseValue(key);
  return *number;
}

std::int64_t Values::number(std::string_view key, std::int64_t fallback) const {
  return has(key) ? number(key) : fallback;
}

double Values::real(std::string_view key, double fallback) const {
  const json::value* value = find(key);
  if (value == nullptr) return fallback;
  if (value->is_double()) return value->get_double();
  return static_cast<double>(number(key));
}

bool Values::flag(std::string_view key, bool fallback) const {
  return has(key) ? number(key) != 0 : fallback;
}

std::int64_t Values::id(std::string_view key) const {
  const std::int64_t id = number(key);
  if (id <= 0) refuseValue(key);
  return id;
}

std::optional<std::int64_t> Values::idIfAny(std::string_view key) const {
  const std::int64_t id = number(key, 0);
  if (id < 0) refuseValue(key);
  return id == 0 ? std::nullopt : std::optional(id);
}

std::optional<std::int64_t> Values::time(std::string_view key) const {
  const json::value* value = find(key);
  if (value == nullptr) return std::nullopt;
  auto time = wholeNumber(*value);
  if (!time && value->is_string()) time = localTime(text(key));
  if (!time) refuseValue(key);
  return time;
}

RowRange Values::rows() const {
  const RowRange range{number("start", 0), number("limit", kUsualRows)};
  if (range.first < 0) refuseValue("start");
  if (range.limit < 1) refuseValue("limit");
  return {range.first, std::min(range.limit, kMaxRows)};
}

RowRange Values::page() const {
  RowRange range = rows();
  const std::int64_t page = std::max<std::int64_t>(range.first, 1) - 1;
  range.first = std::min(page, std::numeric_limits<std::int64_t>::max() / kMaxRows) * range.limit;
  return range;
}

}  // namespace orv::devserver
