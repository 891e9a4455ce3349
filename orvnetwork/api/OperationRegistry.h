#pragma once

#include <orvnetwork/api/Operation.h>

#include <string_view>
#include <vector>

namespace orv {

/// Every operation of `QXAPIHelper`, for consoles, tools and bindings of other languages. The argument kinds
/// come from the operations' own signatures. Immutable; any thread.
///
///     const Operation* logout = OperationRegistry::standard().find("logoutWithCompleteBlock:timeoutBlock:");
///     if (logout == nullptr) return tell("no such operation");
///     const std::string problem = logout->invoke({}, showReply, showTimeout);
///     if (!problem.empty()) tell(problem);       // nothing was sent
class ORV_EXPORT OperationRegistry {
 public:
  /// The one registry, made on first use and never destroyed. Any thread may be the first.
  static const OperationRegistry& standard();

  /// All operations, family by family. They stay where they are for the life of the process.
  const std::vector<Operation>& operations() const { return operations_; }

  /// The operation of a full keyword form, letter by letter, or null when there is none.
  /// It looks through all of them: keep the pointer, which stays valid, where the same one is called often.
  /// @param name for example "logoutWithCompleteBlock:timeoutBlock:"
  const Operation* find(std::string_view name) const;

 private:
  OperationRegistry();
  std::vector<Operation> operations_;
};

}  // namespace orv
