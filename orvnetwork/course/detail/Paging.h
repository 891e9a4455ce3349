#pragma once

#include <orvnetwork/course/CourseRequest.h>
#include <orvnetwork/data/Property.h>
#include <orvnetwork/platform/Semaphore.h>

#include <memory>
#include <vector>

namespace orv {

/// Requests that wait, oldest first. Each reading gives a copy that is made outside of every lock of this class, since it
/// copies what the host's callbacks hold. There are as many as the host makes and as the rules leave waiting.
class RequestList {
 public:
  std::vector<CourseRequest> get() const {
    const auto requests = requests_.get();
    return requests != nullptr ? *requests : std::vector<CourseRequest>();
  }
  void set(std::vector<CourseRequest> requests) {
    requests_ = std::make_shared<const std::vector<CourseRequest>>(std::move(requests));
  }
  /// For who holds the catalogue.
  void add(CourseRequest request) {
    std::vector<CourseRequest> requests = get();
    requests.push_back(std::move(request));
    set(std::move(requests));
  }

 private:
  Property<std::shared_ptr<const std::vector<CourseRequest>>> requests_;
};

/// How far the loading of recorded courses, or that of live ones, has come.
struct Paging {
  RequestList requests;
  /// The key of the course that the server has confirmed last in the current pass.
  Property<OptionalString> cursor;
  /// Taken while a page is on its way.
  Property<std::shared_ptr<Semaphore>> inFlight;
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
