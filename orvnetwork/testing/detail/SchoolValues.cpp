#include "orvnetwork/testing/detail/SchoolValues.h"

#include <charconv>
#include <system_error>

namespace orv::testing {

std::optional<std::int64_t> schoolNumber(const json::value& value) {
  if (value.is_int64()) return value.get_int64();
  if (value.is_bool()) return value.get_bool() ? 1 : 0;
  const json::string* const text = value.if_string();
  if (text == nullptr) return std::nullopt;
  std::int64_t number = 0;
  const char* const end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::optional<std::int64_t> numberIn(const json::object& object, std::string_view key) {
  const json::value* const value = object.if_contains(key);
  return value == nullptr ? std::nullopt : schoolNumber(*value);
}

std::string textIn(const json::object& object, std::string_view key) {
  const json::value* const value = object.if_contains(key);
  if (value == nullptr) return {};
  if (const json::string* const text = value->if_string()) return {text->data(), text->size()};
  const auto number = value->is_bool() ? std::nullopt : schoolNumber(*value);
  return number ? std::to_string(*number) : std::string();
}

void mergeFields(json::object& object, const json::object& fields) {
  for (const auto& [key, value] : fields) {
    if (value.is_null()) {
      object.erase(key);
    } else {
      object[key] = value;
    }
  }
}

}  // namespace orv::testing
