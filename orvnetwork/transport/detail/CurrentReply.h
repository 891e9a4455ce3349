#pragma once

// The reply whose completion callback runs, so that the callback can keep its frame without a copy. Main thread only.

#include <orvnetwork/transport/detail/ReplyFrame.h>

#include <memory>

namespace orv {

/// Says, as long as it lives, that this reply's completion callback runs. No second one runs meanwhile.
class CurrentReply {
 public:
  explicit CurrentReply(const std::shared_ptr<const ReplyFrame>& reply) { current_ = &reply; }
  CurrentReply(const CurrentReply&) = delete;
  CurrentReply& operator=(const CurrentReply&) = delete;
  ~CurrentReply() { current_ = nullptr; }

  /// The reply; null while no completion callback runs.
  static std::shared_ptr<const ReplyFrame> get() { return current_ != nullptr ? *current_ : nullptr; }

 private:
  static inline const std::shared_ptr<const ReplyFrame>* current_ = nullptr;
};

}  // namespace orv
