#pragma once

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/testing/SeededRandom.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orv {

/// Views of one list that come at any moment, follow it by its changes alone, run loops of their own inside them, and go,
/// also there.
class CourseListGuests {
 public:
  /// What the guests of all lists have in common.
  struct House {
    testing::SeededRandom& random;
    testing::SimulatedPlatform& platform;
    std::function<void(std::string)> complain;
    int loops = 0;  ///< how many loops stand inside each other
    std::size_t changes = 0;
    std::size_t changesInLoops = 0;
  };

  explicit CourseListGuests(House& house) : house_(house) {}

  /// One more comes, and the first goes when there are many.
  void invite(CourseList& list);
  /// Complains where one does not show what the list does. For a list at rest.
  void compare(const CourseList& list) const;

 private:
  struct Guest;

  static void take(House& house, Guest& guest, const CourseListChange& change);
  static void runLoop(House& house);

  House& house_;
  std::vector<std::shared_ptr<Guest>> guests_;
};

}  // namespace orv
