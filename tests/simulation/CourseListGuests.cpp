#include "CourseListGuests.h"

#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/CourseRows.h>
#include <orvnetwork/client/Subscription.h>

#include <algorithm>

namespace orv {

namespace {

constexpr std::size_t kMostGuests = 3;
constexpr int kDeepestLoop = 3;

}  // namespace

struct CourseListGuests::Guest {
  std::vector<CourseRows::Row> rows;
  Subscription seen;
};

void CourseListGuests::invite(CourseList& list) {
  if (guests_.size() == kMostGuests) guests_.erase(guests_.begin());
  const auto& guest = guests_.emplace_back(std::make_shared<Guest>());
  const auto rows = list.rows()->all();
  guest->rows.assign(rows.begin(), rows.end());
  guest->seen = list.onChanged(
      [&house = house_, raw = guest.get()](const CourseListChange& change) { take(house, *raw, change); });
}

void CourseListGuests::take(House& house, Guest& guest, const CourseListChange& change) {
  ++house.changes;
  if (house.loops > 0) ++house.changesInLoops;
  if (!std::ranges::equal(guest.rows, change.before->all())) house.complain("a guest began with other rows");
  apply(change, guest.rows);
  if (!std::ranges::equal(guest.rows, change.after->all())) house.complain("a guest changed to other rows");
  if (house.random.oneIn(6)) runLoop(house);
  if (house.random.oneIn(10)) guest.seen.reset();
}

void CourseListGuests::runLoop(House& house) {
  if (house.loops == kDeepestLoop) return;
  ++house.loops;
  auto left = house.random.below(60);
  while (left > 0 && house.platform.step()) --left;
  --house.loops;
}

void CourseListGuests::compare(const CourseList& list) const {
  for (const auto& guest : guests_) {
    if (guest->seen && !std::ranges::equal(guest->rows, list.rows()->all())) {
      house_.complain("a guest shows other rows than its list");
    }
  }
}

}  // namespace orv
