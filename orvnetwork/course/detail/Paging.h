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

}  // namespace orv
