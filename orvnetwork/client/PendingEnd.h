#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Result.h>

#include <concepts>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// How something that was waited for has ended. Of a `Pending<void>` it is all that there is to tell; of others it says
/// why there is no answer, in the words of the answer's own type (`WithoutAnswer`).
enum class PendingEnd {
  Finished,   ///< it is done
  Cancelled,  ///< `cancel`, a stop token, or nobody is left who could answer
  TimedOut,   ///< its deadline has passed
  Thrown,     ///< the coroutine that worked for it has thrown; the console was told what
};

/// Domain of the errors that a `Result` holds when there is no answer; their code is the number of the `PendingEnd`.
inline constexpr std::string_view kPendingErrorDomain = "OrvPending";

/// The end in words, without a full stop: "cancelled". Any thread.
ORV_EXPORT std::string_view textOf(PendingEnd end) noexcept;

/// How an answer of type `T` says that there is none. There is a way for `Result` (an error), `std::optional`
/// (absent), `PendingEnd` itself, and every class with a static function `withoutAnswer(PendingEnd)` that gives one.
template <typename T>
struct WithoutAnswer;

/// What a `Pending` may wait for: a type that can also say that no answer came.
template <typename T>
concept Answerable = requires(PendingEnd end) {
  { WithoutAnswer<T>::make(end) } -> std::same_as<T>;
};

/// The type's own way.
template <typename T>
requires requires(PendingEnd end) {
  { T::withoutAnswer(end) } -> std::same_as<T>;
}
struct WithoutAnswer<T> {
  static T make(PendingEnd end) { return T::withoutAnswer(end); }
};

/// The end is the answer.
template <>
struct WithoutAnswer<PendingEnd> {
  static PendingEnd make(PendingEnd end) { return end; }
};

/// An error in the domain `kPendingErrorDomain`.
template <typename T>
struct WithoutAnswer<Result<T>> {
  static Result<T> make(PendingEnd end) {
    return Error{std::string(kPendingErrorDomain), static_cast<std::int64_t>(end), std::string(textOf(end))};
  }
};

/// Absence, whatever the end.
template <typename T>
struct WithoutAnswer<std::optional<T>> {
  static std::optional<T> make(PendingEnd) { return std::nullopt; }
};

}  // namespace orv
