#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>

#include <concepts>
#include <memory>
#include <type_traits>
#include <utility>
#include <variant>

namespace orv {

namespace detail {
/// Ends the program: the value of a result was asked for that holds an error, which standard error is told.
[[noreturn]] ORV_EXPORT void endForMissingValue(const Error& error) noexcept;
}  // namespace detail

/// What came of work that can fail: a value, or an error that says why there is none.
///
/// It is made from either, and asked before it is used:
///
///     Result<std::string> written = writeJsonPretty(frame);
///     if (!written) return report(written.error());
///     send(*std::move(written));
///
/// A result is a plain value: it may be copied and moved when `T` may, and has no thread of its own.
template <typename T>
class [[nodiscard]] Result {
  static_assert(std::is_object_v<T> && !std::same_as<std::remove_cv_t<T>, Error>,
                "a result holds a value that is not an error");

 public:
  using Value = T;

  /// A success, from a value or from what converts to one. A value that is moved in is not copied.
  template <typename U = T>
  requires(!std::same_as<std::remove_cvref_t<U>, Result> && !std::same_as<std::remove_cvref_t<U>, Error> &&
           std::convertible_to<U, T>) Result(U&& value)
      : state_(std::in_place_index<kValue>, std::forward<U>(value)) {}
  /// A failure.
  Result(Error error) : state_(std::in_place_index<kError>, std::move(error)) {}

  /// Whether there is a value.
  explicit operator bool() const noexcept { return state_.index() == kValue; }

  /// The value, when there certainly is one: asking a failure for it ends the program, with the error on standard
  /// error.
  T& value() & { return checked(), **this; }
  const T& value() const& { return checked(), **this; }
  T&& value() && { return checked(), *std::move(*this); }

  /// The value or what is in it. There must be one: it was looked at before.
  T& operator*() & noexcept { return *std::get_if<kValue>(&state_); }
  const T& operator*() const& noexcept { return *std::get_if<kValue>(&state_); }
  T&& operator*() && noexcept { return std::move(*std::get_if<kValue>(&state_)); }
  T* operator->() noexcept { return std::get_if<kValue>(&state_); }
  const T* operator->() const noexcept { return std::get_if<kValue>(&state_); }

  /// The value, or `fallback` in place of one that is not there.
  template <std::convertible_to<T> U>
  T valueOr(U&& fallback) const& {
    return *this ? **this : static_cast<T>(std::forward<U>(fallback));
  }
  template <std::convertible_to<T> U>
  T valueOr(U&& fallback) && {
    return *this ? *std::move(*this) : static_cast<T>(std::forward<U>(fallback));
  }

  /// Why there is no value. There must be none.
  Error& error() & noexcept { return *std::get_if<kError>(&state_); }
  const Error& error() const& noexcept { return *std::get_if<kError>(&state_); }
  Error&& error() && noexcept { return std::move(*std::get_if<kError>(&state_)); }

  /// Equal values or equal errors. A value by itself is equal to a success that holds the same.
  bool operator==(const Result&) const = default;

 private:
  static constexpr std::size_t kValue = 0;
  static constexpr std::size_t kError = 1;

  void checked() const noexcept {
    if (!*this) detail::endForMissingValue(error());
  }

  std::variant<T, Error> state_;
};

}  // namespace orv
