// Thousands of requests for courses that wait at a time.

#include "tests/unit/course/PagingFixture.h"

#include <memory>

namespace orv::many_requests_test {

namespace {

/// A callback's closure that counts how often it is copied.
class CountingCallback {
 public:
  explicit CountingCallback(std::size_t& copies) : copies_(&copies) {}
  CountingCallback(const CountingCallback& other) : copies_(other.copies_) { ++*copies_; }
  CountingCallback(CountingCallback&& other) noexcept = default;
  CountingCallback& operator=(const CountingCallback&) = delete;
  ~CountingCallback() = default;

  void operator()(bool, std::int64_t) const {}

 private:
  std::size_t* copies_;
};

class ManyRequests : public PagingFixture {
 protected:
  static constexpr std::size_t kRequests = 3'000;

  void answerAllPages() {
    // So many at one moment that one may take the identifier of another, which is noticed later.
    for (int lost = 0; lost < 20; ++lost) {
      while (!held.empty()) answerHeld(pageAsked(held.front()));
      runFor(15.1);
    }
  }
};

TEST_F(ManyRequests, AreNotCopiedForEachOther) {
  listRooms(30, 1);
  for (std::int64_t status = 1; status <= 3; ++status) listLive(status, 100 * status, 100 * status + 29);
  signIn();
  holdPages();
  std::size_t copies = 0;
  for (std::size_t i = 0; i < kRequests; ++i) {
    courses().getCoursesWithStartIndex_count_force_coursesBlock(0, 30, i % 20 == 0, CountingCallback(copies));
    courses().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(
        0, 30, 1 + i % 3, i % 20 == 0, CountingCallback(copies));
    platform.settle();
  }
  EXPECT_GE(courses().requestRecordList().size(), kRequests - 1);
  EXPECT_GE(courses().requestLiveList().size(), kRequests - 1);
  answerAllPages();
  EXPECT_EQ(courses().requestRecordList().size(), 0u);
  EXPECT_EQ(courses().requestLiveList().size(), 0u);
  // The first of the list is looked at again and again.
  EXPECT_GT(copies, 0u);
  EXPECT_LT(copies, 20 * kRequests);
}

}  // namespace

}  // namespace orv::many_requests_test
