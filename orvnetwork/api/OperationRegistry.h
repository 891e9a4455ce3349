#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <functional>
#include <string_view>
#include <vector>

namespace orv {

/// What an operation takes in one place. Integers have 64 bits; for an unsigned one -1 stands for all ones, the
/// value that some operations take as "leave it alone". A date is a number of seconds since 1970-01-01 00:00 UTC.
enum class ArgumentKind { Text, Any, Dictionary, Array, Integer, UnsignedInteger, Real, Flag, Date };

/// The kind's name in messages and listings, for example "text".
ORV_EXPORT std::string_view nameOf(ArgumentKind kind);

struct OperationParameter {
  std::string_view name;
  ArgumentKind kind;
  /// Whether the argument must be there.
  bool required;
};

/// An operation of the catalogue that can be called by its name.
struct ORV_EXPORT Operation {
  /// The full keyword form, for example "logoutWithCompleteBlock:timeoutBlock:".
  std::string name;
  /// The command that it sends; empty when an argument decides it.
  std::string_view command;
  /// Its arguments in order, without the two callbacks.
  std::vector<OperationParameter> parameters;

  /// Calls the operation with JSON arguments; missing trailing ones are absent. Returns what is wrong with the
  /// arguments, in which case nothing has been sent and neither callback will be called; empty when all is well.
  /// Any thread.
  std::string invoke(const std::vector<Object>& arguments, CompleteBlock completeBlock,
                     TimeoutBlock timeoutBlock) const;

  /// How to call it, for example "loginWithMobile:password:… (mobile: text or null, password: text)".
  std::string signature() const;

  using Call = std::function<void(const std::vector<Object>&, CompleteBlock, TimeoutBlock)>;
  /// Calls it with arguments that fit; use `invoke`.
  Call call;
};

/// Every operation of `QXAPIHelper`, for consoles, tools and bindings of other languages. The argument kinds
/// come from the operations' own signatures. Immutable; any thread.
class ORV_EXPORT OperationRegistry {
 public:
  static const OperationRegistry& standard();

  const std::vector<Operation>& operations() const { return operations_; }
  /// The operation of that full keyword form, or null.
  const Operation* find(std::string_view name) const;

 private:
  OperationRegistry();
  std::vector<Operation> operations_;
};

}  // namespace orv
