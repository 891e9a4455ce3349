#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/string.hpp>
#include <boost/json/value.hpp>

#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace orv {

namespace json = boost::json;

/// A UTF-8 string that may be absent.
using OptionalString = std::optional<std::string>;

/// A time span in seconds.
using Seconds = std::chrono::duration<double>;

/// A moment on the wall clock (seconds since 1970-01-01 00:00 UTC); it may jump either way.
using WallTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>;

/// A moment on a clock that never jumps; its origin means nothing.
using SteadyTime = std::chrono::time_point<std::chrono::steady_clock, std::chrono::nanoseconds>;

/// Any JSON value that may be absent: what an operation takes when it passes an argument through
/// unchanged. Text, numbers, booleans, arrays and dictionaries convert implicitly. JSON null is absence.
class Object : public std::optional<json::value> {
 public:
  Object() = default;
  Object(std::nullopt_t) {}
  Object(std::nullptr_t) {}
  Object(json::value value) {
    if (!value.is_null()) emplace(std::move(value));
  }
  Object(const char* text) {
    if (text != nullptr) emplace(json::string_view(text));
  }
  Object(std::string_view text) { emplace(json::string_view(text.data(), text.size())); }
  Object(const std::string& text) : Object(std::string_view(text)) {}
  Object(const OptionalString& text) {
    if (text) emplace(json::string_view(*text));
  }
  Object(json::object object) { emplace(std::move(object)); }
  Object(json::array array) { emplace(std::move(array)); }
  Object(bool flag) { emplace(flag); }
  Object(double number) { emplace(number); }
  template <std::integral Integer>
  requires(!std::same_as<Integer, bool>) Object(Integer number) { emplace(number); }
};

/// Any JSON value that must be there: what an operation takes where it passes an argument through that the
/// command cannot do without. It converts from what `Object` converts from, save what may be absent.
class RequiredObject {
 public:
  template <typename T>
  requires(std::constructible_from<Object, T> && !std::same_as<std::remove_cvref_t<T>, std::nullopt_t> &&
           !std::same_as<std::remove_cvref_t<T>, std::nullptr_t> &&
           !std::derived_from<std::remove_cvref_t<T>, std::optional<json::value>> &&
           !std::same_as<std::remove_cvref_t<T>, OptionalString> &&
           !std::same_as<std::remove_cvref_t<T>, RequiredObject>) RequiredObject(T&& value)
      : object_(std::forward<T>(value)) {}

  operator const Object&() const { return object_; }

 private:
  Object object_;
};

}  // namespace orv
