#pragma once

#include <orvnetwork/course/detail/PageRepeats.h>
#include <orvnetwork/course/detail/RequestList.h>
#include <orvnetwork/data/Property.h>
#include <orvnetwork/platform/Semaphore.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace orv {

/// How far the loading of recorded courses, or that of live ones, has come.
struct Paging {
  RequestList requests;
  /// The key of the course that the server has confirmed last in the current pass.
  Property<OptionalString> cursor;
  /// Taken while a page is on its way.
  Property<std::shared_ptr<Semaphore>> inFlight;
  /// How many pages have come and are not in the list and on the disk yet, and how many are by now, or were dropped.
  std::atomic<std::uint64_t> unmerged = 0, ended = 0;
  PageRepeats repeats;
  /// Held for the whole of a look at what is to be answered and asked for, which gives the catalogue away between its
  /// steps: two at once would each ask for the next page, and each page's reply brings a look of its own. Taken before
  /// the catalogue.
  std::mutex looking;
};

/// A page that has come: `Paging` counts it as unmerged until it is in the list and on the disk, or dropped. A look at the
/// requests follows in either case.
class UnmergedPage {
 public:
  explicit UnmergedPage(Paging& paging) : paging_(paging) { ++paging_.unmerged; }
  UnmergedPage(const UnmergedPage&) = delete;
  UnmergedPage& operator=(const UnmergedPage&) = delete;
  ~UnmergedPage() {
    ++paging_.ended;  // First: at each moment one of the two tells of it.
    --paging_.unmerged;
  }

 private:
  Paging& paging_;
};

/// The page that the oldest request wants next.
struct WantedPage {
  std::int64_t page = 0;
  /// Of live courses, the list.
  std::uint64_t status = 0;
  /// It is the first one that the request asks for.
  bool startsPass = false;
  /// It is wanted whatever the list holds.
  bool isForced = false;
  /// What `Paging::ended` was when it was wanted.
  std::uint64_t ended = 0;
};

/// Whether another page has come since this one was wanted, or waits to be merged: it is likely to be the same one, and a look
/// at the requests follows it.
inline bool isOutdated(const Paging& paging, const WantedPage& wanted) {
  return !wanted.isForced && (paging.unmerged > 0 || paging.ended != wanted.ended);
}

/// One page that was asked for.
struct PageLoad {
  std::int64_t page = 0;
  /// Of live courses, the list.
  std::uint64_t status = 0;
  std::int64_t retriesLeft = 0;
  /// Which catalogue it was asked for; see `Catalogue::opened`. Its courses belong in no other, not even in a later one
  /// of the same user.
  std::uint64_t opened = 0;
};

}  // namespace orv
