#pragma once

#include <orvnetwork/data/Types.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orv::testing {

/// Thrown by what carries a request out: the request is refused.
class SchoolRefusal : public std::runtime_error {
 public:
  SchoolRefusal(std::int32_t code, const std::string& text) : std::runtime_error(text), code_(code) {}
  std::int32_t code() const { return code_; }

 private:
  std::int32_t code_;
};

/// A number that came as one, as its decimal digits, or as a truth value.
std::optional<std::int64_t> schoolNumber(const json::value& value);
/// A member read so; absent when it is missing or no number.
std::optional<std::int64_t> numberIn(const json::object& object, std::string_view key);
/// A text, or the digits of a number; empty when it is neither.
std::string textIn(const json::object& object, std::string_view key);
/// Puts the members of `fields` into `object`; those that are null are taken away.
void mergeFields(json::object& object, const json::object& fields);

}  // namespace orv::testing
