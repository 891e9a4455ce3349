#pragma once

#include <orvnetwork/course/detail/PageRepeats.h>
#include <orvnetwork/course/detail/RequestList.h>
#include <orvnetwork/data/Property.h>
#include <orvnetwork/platform/Semaphore.h>

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
  PageRepeats repeats;
  /// Held for the whole of a look at what is to be answered and asked for, which gives the catalogue away between its
  /// steps: two at once would each ask for the next page, and each page's reply brings a look of its own. Taken before
  /// the catalogue.
  std::mutex looking;
};

/// The page that the oldest request wants next.
struct WantedPage {
  std::int64_t page = 0;
  /// Of live courses, the list.
  std::uint64_t status = 0;
  /// It is the first one that the request asks for.
  bool startsPass = false;
};

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
