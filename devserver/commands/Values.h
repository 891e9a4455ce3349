#pragma once

#include "devserver/commands/RequestFrame.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orv::devserver {

/// Ends a command: the request is answered by this code and text, and nothing of what it did stays.
class Refused : public std::runtime_error {
 public:
  Refused(int code, const std::string& text) : std::runtime_error(text), code_(code) {}
  int code() const { return code_; }

 private:
  int code_;
};

/// Rows of a list.
struct RowRange {
  std::int64_t first = 0;
  std::int64_t limit = 0;
};

/// Reads the values of a request. Whole numbers may come as numbers or as decimal text. A reader that needs what
/// is not there, or finds what it cannot use, throws Refused with `result::kMissingValue`.
class Values {
 public:
  static constexpr std::int64_t kUsualRows = 30;
  static constexpr std::int64_t kMaxRows = 500;
  static constexpr std::size_t kMaxText = 20'000;

  explicit Values(const json::object& values) : values_(values) {}

  /// True for a member that is neither null nor empty text.
  bool has(std::string_view key) const;
  /// Text that is not empty, or the decimal text of a whole number.
  std::string text(std::string_view key) const;
  std::string text(std::string_view key, std::string fallback) const;
  std::int64_t number(std::string_view key) const;
  std::int64_t number(std::string_view key, std::int64_t fallback) const;
  /// A number that need not be whole.
  double real(std::string_view key, double fallback) const;
  /// True or false, or a number, which is true where it is not 0.
  bool flag(std::string_view key, bool fallback) const;
  /// A number above 0.
  std::int64_t id(std::string_view key) const;
  /// A number above 0; absent where nothing, empty text or 0 stands.
  std::optional<std::int64_t> idIfAny(std::string_view key) const;
  /// Seconds since 1970 of "yyyy-MM-dd HH:mm[:ss]" in this machine's zone, or of a number; absent where
  /// nothing stands.
  std::optional<std::int64_t> time(std::string_view key) const;
  /// "start" is a row, 0 the first, and "limit" a number of rows.
  RowRange rows() const;
  /// "start" is a page, 1 (or 0) the first, and "limit" the rows of a page.
  RowRange page() const;

  const json::object& all() const { return values_; }

 private:
  const json::value* find(std::string_view key) const;
  const json::object& values_;
};

/// Refuses what is missing or of a wrong kind.
[[noreturn]] void refuseValue(std::string_view key);

}  // namespace orv::devserver
