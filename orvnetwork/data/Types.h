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

/// @file
/// The types that every other header speaks in. What may be absent has a type that says so; what may not is a plain
/// type, so that the compiler refuses an absent one:
///
///     OptionalString nick;                                  // nobody has given one
///     nick = "Ada";
///     if (nick) greet(*nick);
///
///     json::object values{{"roomID", 5000123}, {"tags", {"a", "b"}}};
///     values["title"] = "Algebra";
///
///     void offer(const Object& title, const Object& price);
///     offer("Algebra", 9.9);
///     offer(values["title"], std::nullopt);                 // without a price
///
///     const Seconds limit = std::chrono::milliseconds(1500);  // 1.5
///
/// They are plain values: each thread has its own, or one is read by many while nobody changes it.

namespace orv {

/// JSON values are those of Boost.JSON: `json::value`, `json::object` (which keeps the order of its members),
/// `json::array` and `json::string`. Texts in them are UTF-8.
namespace json = boost::json;

/// A UTF-8 string that may be absent. Absent and empty are different: an absent member is left out of a request, an
/// empty one is sent as "".
using OptionalString = std::optional<std::string>;

/// A time span in seconds, with a fraction. Any span of `std::chrono` converts to it.
using Seconds = std::chrono::duration<double>;

/// A moment on the wall clock (seconds since 1970-01-01 00:00 UTC); it may jump either way. For what is shown or sent.
using WallTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>;

/// A moment on a clock that never jumps; its origin means nothing. For what is waited for or measured.
using SteadyTime = std::chrono::time_point<std::chrono::steady_clock, std::chrono::nanoseconds>;

/// Any JSON value that may be absent: what an operation takes when it passes an argument through
/// unchanged. Text, numbers, booleans, arrays and dictionaries convert implicitly. JSON null is absence, and so are
/// `std::nullopt`, `nullptr` and an absent `OptionalString`.
///
/// It is an optional JSON value in all other respects: `if (object)`, `object->is_string()`, `*object`. Text must be
/// UTF-8; one that is not makes the writing of the request fail later.
class Object : public std::optional<json::value> {
 public:
  /// Absent.
  Object() = default;
  /// Absent.
  Object(std::nullopt_t) {}
  /// Absent.
  Object(std::nullptr_t) {}
  /// A value of any kind; null is absence. A value that is moved in is not copied.
  Object(json::value value) {
    if (!value.is_null()) emplace(std::move(value));
  }
  /// A text that ends with a zero byte; absent for a null pointer.
  Object(const char* text) {
    if (text != nullptr) emplace(json::string_view(text));
  }
  /// A text. An empty one is there.
  Object(std::string_view text) { emplace(json::string_view(text.data(), text.size())); }
  /// A text. An empty one is there.
  Object(const std::string& text) : Object(std::string_view(text)) {}
  /// A text, or absence.
  Object(const OptionalString& text) {
    if (text) emplace(json::string_view(*text));
  }
  /// A dictionary. An empty one is there.
  Object(json::object object) { emplace(std::move(object)); }
  /// An array. An empty one is there.
  Object(json::array array) { emplace(std::move(array)); }
  /// true or false, which are not the numbers 1 and 0.
  Object(bool flag) { emplace(flag); }
  /// A real number. NaN and the infinities have no place in JSON and make the writing of the request fail later.
  Object(double number) { emplace(number); }
  /// A whole number of any width, signed or not.
  template <std::integral Integer>
  requires(!std::same_as<Integer, bool>) Object(Integer number) { emplace(number); }
};

/// Any JSON value that must be there: what an operation takes where it passes an argument through that the
/// command cannot do without. It converts from what `Object` converts from, except what may be absent: the compiler
/// refuses `std::nullopt`, `nullptr`, an `OptionalString` and an `Object`. A JSON value that is null at run time and a
/// null `const char*` are let through and reach the operation as absent.
class RequiredObject {
 public:
  /// From whatever `Object` can be made of and is always there.
  template <typename T>
  requires(std::constructible_from<Object, T> && !std::same_as<std::remove_cvref_t<T>, std::nullopt_t> &&
           !std::same_as<std::remove_cvref_t<T>, std::nullptr_t> &&
           !std::derived_from<std::remove_cvref_t<T>, std::optional<json::value>> &&
           !std::same_as<std::remove_cvref_t<T>, OptionalString> &&
           !std::same_as<std::remove_cvref_t<T>, RequiredObject>) RequiredObject(T&& value)
      : object_(std::forward<T>(value)) {}

  /// The value, as what takes an `Object` takes it; valid as long as this is.
  operator const Object&() const { return object_; }

 private:
  Object object_;
};

}  // namespace orv
