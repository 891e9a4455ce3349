#pragma once

#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/transport/UnreadReply.h>

#include <optional>

namespace orv {

/// The reply that a page came with, kept for as long as its items are needed. Nothing of it is copied, and values are made
/// of it only where its text is out of the ordinary. It may be read and dropped on any thread.
class PageReply {
 public:
  explicit PageReply(UnreadReply reply);

  /// Whether "v" is a dictionary.
  bool hasValues() const { return hasValues_; }
  /// Whether its "data" is an array.
  bool hasItems() const { return array_ != nullptr || view_.has_value(); }
  /// The items of that array; none without one. They refer to this reply.
  PageItems items(std::int64_t page) const;

 private:
  UnreadReply reply_;
  bool hasValues_ = false;
  const json::array* array_ = nullptr;
  std::optional<JsonView> view_;
};

}  // namespace orv
