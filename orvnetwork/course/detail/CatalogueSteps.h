#pragma once

#include <orvnetwork/course/detail/Catalogue.h>

#include <cstddef>
#include <cstdint>

namespace orv {

/// Long work on the catalogue, in small steps: between them those have it who wait for it, so that a look-up on the
/// main thread waits for some files and not for thousands. What they change is for the work to live with.
class CatalogueSteps {
 public:
  /// How many steps are made in one go. A step reads a record's file at most, which takes some 0.1 ms.
  static constexpr std::size_t kAtATime = 4;

  CatalogueSteps(Catalogue& catalogue, CatalogueLock& lock)
      : catalogue_(catalogue), lock_(lock), opened_(catalogue.opened()) {}

  /// To be called after each step. False when another catalogue has been opened meanwhile: then the work has come to its
  /// end, since whom it was for is not there any more.
  bool next() {
    if (++made_ % kAtATime == 0) lock_.giveWay();
    return isSame();
  }
  bool isSame() const { return catalogue_.opened() == opened_; }

 private:
  Catalogue& catalogue_;
  CatalogueLock& lock_;
  const std::uint64_t opened_;
  std::size_t made_ = 0;
};

}  // namespace orv
