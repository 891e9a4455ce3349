#pragma once

#include <orvnetwork/data/Json.h>
#include <orvnetwork/testing/SeededRandom.h>
#include <orvnetwork/testing/SimulatedSchool.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orv::test {

/// A school whose courses change at random: they come and go, get other names, other statuses and other places.
class ChangingSchool {
 public:
  ChangingSchool(testing::SimulatedSchool& school, testing::SeededRandom& random)
      : school_(school), random_(random) {}

  /// One course more, recorded or live.
  void add() {
    const bool isLive = random_.oneIn(2);
    rooms_.push_back(school_.addCourse({{"liveType", isLive ? 1 : 2},
                                        {"status", isLive ? static_cast<std::int64_t>(1 + pick(3)) : 5},
                                        {"title", "课程 " + std::to_string(pick(1000))}}));
  }
  /// One change of any kind.
  void change() {
    const auto at = rooms_.begin() + static_cast<std::ptrdiff_t>(pick(rooms_.size()));
    switch (pick(8)) {
      case 0:
      case 1:
        return add();
      case 2:
        if (rooms_.size() < 20) return;
        school_.removeCourse(*at);
        rooms_.erase(at);
        return;
      case 3:
        school_.changeCourse(*at, {{"title", "改名 " + std::to_string(pick(1000))}, {"viewCnt", 1}});
        return;
      case 4:
        if (school_.course(*at)->at("liveType") == json::value(1)) {
          school_.changeCourse(*at, {{"status", static_cast<std::int64_t>(1 + pick(3))}, {"viewCnt", 2}});
        }
        return;
      case 5: {
        const auto other = rooms_.begin() + static_cast<std::ptrdiff_t>(pick(rooms_.size()));
        std::rotate(std::min(at, other), std::max(at, other), rooms_.end());
        return school_.setListOrder(rooms_);
      }
      case 6: {
        const std::int64_t moved = *at;
        rooms_.erase(at);
        rooms_.insert(rooms_.begin() + static_cast<std::ptrdiff_t>(pick(rooms_.size() + 1)), moved);
        return school_.setListOrder(rooms_);
      }
      default:
        if (random_.oneIn(4)) std::ranges::reverse(rooms_);
        return school_.setListOrder(rooms_);
    }
  }

 private:
  std::size_t pick(std::size_t below) { return static_cast<std::size_t>(random_.below(below)); }

  testing::SimulatedSchool& school_;
  testing::SeededRandom& random_;
  std::vector<std::int64_t> rooms_;
};

}  // namespace orv::test
