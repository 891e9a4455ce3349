#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// What an operation takes in one place. Integers have 64 bits; for an unsigned one -1 stands for all ones, the
/// value that some operations take as "leave it alone". A date is a number of seconds since 1970-01-01 00:00 UTC.
enum class ArgumentKind { Text, Any, Dictionary, Array, Integer, UnsignedInteger, Real, Flag, Date };

/// The kind's name in messages and listings, for example "text".
ORV_EXPORT std::string_view nameOf(ArgumentKind kind);

/// One argument of an operation.
struct OperationParameter {
  /// The name of the C++ function's parameter, for example "roomID".
  std::string_view name;
  ArgumentKind kind;
  /// Whether the argument must be there.
  bool required;
};

/// An operation of the catalogue that can be called by its name. Those of `OperationRegistry` never change and may
/// be used on any thread.
struct ORV_EXPORT Operation {
  /// The full keyword form, for example "logoutWithCompleteBlock:timeoutBlock:".
  std::string name;
  /// The command that it sends; empty when an argument decides it.
  std::string_view command;
  /// Its arguments in order, without the two callbacks.
  std::vector<OperationParameter> parameters;

  /// What is wrong with arguments for it, in words that end in `signature()`: there are too many, one that is
  /// required is absent, or one is of another kind. Empty when all is well. Missing trailing ones are absent.
  /// Nothing is copied, called or sent. Any thread.
  std::string problemWith(const std::vector<Object>& arguments) const;

  /// Calls the operation with JSON arguments. Any thread.
  /// @param arguments in the order of `parameters`; missing trailing ones are absent
  /// @param completeBlock called as the operation's own completion callback is: on the main thread, with the reply
  /// @param timeoutBlock called as its own time-out callback is: on the main thread after 10 s, or before this
  /// returns when the link is not open
  /// @return `problemWith(arguments)`; when it is not empty nothing has been sent and neither callback will be
  /// called
  std::string invoke(const std::vector<Object>& arguments, CompleteBlock completeBlock,
                     TimeoutBlock timeoutBlock) const;

  /// How to call it, for example "loginWithMobile:password:… (mobile: text or null, password: text)".
  std::string signature() const;

  using Call = std::function<void(const std::vector<Object>&, CompleteBlock, TimeoutBlock)>;
  /// Calls it with arguments that `problemWith` finds nothing wrong with; use `invoke`.
  Call call;
};

}  // namespace orv
