#pragma once

#include <orvnetwork/course/detail/Catalogue.h>

#include <cstddef>
#include <cstdint>
#include <utility>

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
  /// The same after a step that may take longer: to write a file takes 0.1 ms on one disk and 1 ms on another.
  bool rest() {
    made_ = 0;
    lock_.giveWay();
    return isSame();
  }
  /// A step that takes longer and needs nothing of the catalogue, which others may have meanwhile; as above.
  template <typename Work>
  bool aside(Work&& work) {
    made_ = 0;
    lock_.letGoFor(std::forward<Work>(work));
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
