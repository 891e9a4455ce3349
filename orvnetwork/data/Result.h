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

/// What came of work that can fail: a value, or an error that says why there is none. It holds the one or the other,
/// never both and never neither.
///
/// Who calls such work asks before the value is used, or says what is to stand in its place:
///
///     Result<std::string> written = writeJsonPretty(frame);
///     if (!written) return report(written.error());
///     send(*std::move(written));                                // moved out, not copied
///
///     show(writeJsonCompact(value).valueOr("?"));
///
/// Who does such work returns either as it is:
///
///     Result<json::object> readFrame(std::string_view text) {
///       Result<json::value> parsed = parseJson(text);
///       if (!parsed) return parsed.error();
///       if (!parsed->is_object()) return Error{"MyFrames", 1, "the frame is not a dictionary"};
///       return std::move(parsed->get_object());
///     }
///
/// The compiler warns of a result that nobody looks at. A result is a plain value: it may be copied and moved when `T`
/// may, and each thread has its own.
template <typename T>
class [[nodiscard]] Result {
  static_assert(std::is_object_v<T> && !std::same_as<std::remove_cv_t<T>, Error>,
                "a result holds a value that is not an error");

 public:
  /// What a success holds.
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

  /// The value, where there certainly is one, as in a test or of a constant: asking a failure for it ends the program,
  /// with the error on standard error.
  T& value() & { return checked(), **this; }
  const T& value() const& { return checked(), **this; }
  T&& value() && { return checked(), *std::move(*this); }

  /// The value. There must be one: this does not look again, so a failure is undefined behaviour here.
  T& operator*() & noexcept { return *std::get_if<kValue>(&state_); }
  const T& operator*() const& noexcept { return *std::get_if<kValue>(&state_); }
  T&& operator*() && noexcept { return std::move(*std::get_if<kValue>(&state_)); }
  /// What is in the value, on the same condition.
  T* operator->() noexcept { return std::get_if<kValue>(&state_); }
  const T* operator->() const noexcept { return std::get_if<kValue>(&state_); }

  /// A copy of the value, or `fallback` in place of one that is not there.
  template <std::convertible_to<T> U>
  T valueOr(U&& fallback) const& {
    return *this ? **this : static_cast<T>(std::forward<U>(fallback));
  }
  /// The same, without a copy.
  template <std::convertible_to<T> U>
  T valueOr(U&& fallback) && {
    return *this ? *std::move(*this) : static_cast<T>(std::forward<U>(fallback));
  }

  /// Why there is no value. There must be none: like `operator*` this does not look again.
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
