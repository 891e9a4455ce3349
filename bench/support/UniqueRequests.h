#pragma once

#include <orvnetwork/transport/QXRequestItem.h>

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <utility>

namespace bench {

/// Makes requests whose identifiers are all different. Identifiers are microseconds with a jitter, so that many
/// requests made at once may repeat one, and the later request would take the earlier one's place.
class UniqueRequests {
 public:
  std::shared_ptr<orv::QXRequestItem> make(const char* command, const orv::json::object& values,
                                           const orv::CompleteBlock& complete,
                                           const orv::TimeoutBlock& timeout) {
    for (;;) {
      auto item = orv::QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
          command, values, complete, timeout);
      if (outstanding_.insert(item->timestamp).second) return item;
    }
  }
  void ended(const orv::QXRequestItem& item) { outstanding_.erase(item.timestamp); }

 private:
  std::unordered_set<std::int64_t> outstanding_;
};

}  // namespace bench
