#pragma once

#include <boost/json/object.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::devserver {

namespace json = boost::json;

/// Reads the members of a control object one by one. Every reader throws std::invalid_argument with a text
/// that names the member and what was expected there.
class ControlFields {
 public:
  explicit ControlFields(const json::object& object) : object_(object) {}

  bool has(std::string_view key) const { return object_.contains({key.data(), key.size()}); }
  std::string text(std::string_view key);
  std::string text(std::string_view key, std::string fallback);
  /// Text, or null: absent.
  std::optional<std::string> textOrNull(std::string_view key);
  /// One of the choices, which are listed in the message otherwise; the result is its position.
  std::size_t choice(std::string_view key, const std::vector<std::string_view>& choices);
  std::int64_t number(std::string_view key, std::int64_t lowest, std::int64_t highest);
  std::int64_t number(std::string_view key, std::int64_t lowest, std::int64_t highest, std::int64_t fallback);
  bool flag(std::string_view key);
  bool flag(std::string_view key, bool fallback);
  json::object object(std::string_view key);
  /// Bytes written as hexadecimal digits.
  std::string bytes(std::string_view key);
  /// Refuses members that no reader has asked for.
  void end() const;

 private:
  const json::value* find(std::string_view key);
  const json::value& need(std::string_view key, std::string_view expected);
  const json::object& object_;
  std::vector<std::string> known_;
};

}  // namespace orv::devserver
