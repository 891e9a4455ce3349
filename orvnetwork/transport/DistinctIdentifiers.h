#pragma once

#include <orvnetwork/data/Export.h>

#include <cstdint>

namespace orv {

/// As long as it lives, requests that are made on this thread get identifiers that no recent request has.
///
/// An identifier is the time in microseconds plus something random below 1,000, and the link does nothing about two that
/// are the same: the later request takes the place of the earlier one, which is never answered, and may be given its reply.
/// Of ten requests that are made at once this happens to two in some 4 % of all cases. What `ask` sends is made under
/// one of these.
///
///     const DistinctIdentifiers distinct;
///     QXAPIHelper::getUserInfoWithCompleteBlock_timeoutBlock(complete, timeout);
///
/// Any thread; it belongs to the one that made it. What is made elsewhere later, without one, may still hit upon the same
/// identifier.
class ORV_EXPORT DistinctIdentifiers {
 public:
  DistinctIdentifiers();
  DistinctIdentifiers(const DistinctIdentifiers&) = delete;
  DistinctIdentifiers& operator=(const DistinctIdentifiers&) = delete;
  ~DistinctIdentifiers();

  /// For requests that are being made: the identifier that one gets which has drawn `drawn`, remembered as taken. It is
  /// another one, a little higher, only under a `DistinctIdentifiers` of this thread. Any thread, without waiting.
  static std::int64_t take(std::int64_t drawn);

 private:
  const bool outer_;
};

}  // namespace orv
