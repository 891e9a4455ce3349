#pragma once

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/transport/DistinctIdentifiers.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <concepts>
#include <cstddef>
#include <memory>
#include <tuple>
#include <utility>

namespace orv {

namespace detail {

class QuestionState;

/// A request that is being made: it has the operation's two callbacks lead to one `Pending`, and its identifier differ from
/// those of the requests before it.
class ORV_EXPORT Question {
 public:
  Question();
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;
  ~Question();

  /// Both go into the same call, and belong together.
  CompleteBlock completeBlock() const;
  TimeoutBlock timeoutBlock() const;
  /// The answer, once the operation has been called.
  Pending<Reply> asked() const;

 private:
  const std::shared_ptr<QuestionState> state_;
  const DistinctIdentifiers distinct_;
};

/// The leading parameters of an operation, those before its two callbacks; undefined for what is no operation.
template <typename Function>
struct LeadingParameters;

template <typename... Parameters>
requires(sizeof...(Parameters) >= 2) struct LeadingParameters<void (*)(Parameters...)> {
  using All = std::tuple<Parameters...>;
  static constexpr std::size_t kLeading = sizeof...(Parameters) - 2;
  static_assert(std::same_as<std::tuple_element_t<kLeading, All>, CompleteBlock> &&
                    std::same_as<std::tuple_element_t<kLeading + 1, All>, TimeoutBlock>,
                "an operation ends in its two callbacks");
  template <std::size_t... I>
  static std::tuple<std::tuple_element_t<I, All>...> pick(std::index_sequence<I...>);
  using Type = decltype(pick(std::make_index_sequence<kLeading>()));
};

/// Calls an operation with the arguments that it takes; its parameters are the operation's own, so that whatever
/// converts there converts here.
template <auto operation, typename Leading = typename LeadingParameters<decltype(operation)>::Type>
class Asking;

template <auto operation, typename... Leading>
class Asking<operation, std::tuple<Leading...>> {
 public:
  constexpr Asking() = default;
  Pending<Reply> operator()(Leading... arguments) const {
    const Question question;
    operation(std::forward<Leading>(arguments)..., question.completeBlock(), question.timeoutBlock());
    return question.asked();
  }
};

}  // namespace detail

/// Asks the server: any operation of `QXAPIHelper`, with its arguments and without its two callbacks.
///
///     auto asked = orv::ask<&orv::QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock>("5000123");
///     const orv::Reply reply = co_await asked;
///
/// The arguments are those of the operation, and the compiler refuses what the operation would refuse. The `Pending` is
/// answered when the reply has come, when 10 s have passed without one, or, in a turn of the main queue soon after, when
/// there is no link: then the request is not sent, and the link is asked to reconnect. An operation that sends nothing with
/// its arguments is told as timed out, likewise in a later turn. A request that needs a session waits for one, however long
/// that takes, so give it a `deadline` where somebody looks on. Main thread.
///
/// It costs two allocations and no copy of the frame more than the operation by itself.
template <auto operation>
inline constexpr detail::Asking<operation> ask{};

}  // namespace orv
