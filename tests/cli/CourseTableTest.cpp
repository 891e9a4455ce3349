#include <orvnetwork/course/OrvCourseModel.h>

#include <cli/CourseTable.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>

namespace orv::test::course_table_test {
namespace {

constexpr std::int64_t kHalfPastTwo = 1'795'357'800;  // 2026-11-22 14:30 UTC
constexpr std::int64_t kHour = 3600;
constexpr std::uint64_t kLive = 1, kRecorded = 2;

/// A table that is made row by row, each of one more room.
class CourseRows {
 public:
  CourseRows& add(std::uint64_t status, const std::function<void(OrvCourseModel&)>& change) {
    OrvCourseModel course;
    course.roomID = ++room_;
    course.title = "A";
    course.status = status;
    change(course);
    table_.add(course);
    return *this;
  }
  std::string text() const { return table_.table().text(200); }

 private:
  cli::CourseTable table_;
  std::int64_t room_ = 6;
};

TEST(CourseTable, TellsEachCourseInARow) {
  ::setenv("TZ", "UTC0", 1);
  CourseRows rows;
  rows.add(5, [](OrvCourseModel& course) {
    course.liveType = kRecorded;
    course.addtime = kHalfPastTwo;
    course.startTime = kHalfPastTwo + kHour;  // that of a recorded one means nothing
    course.setDuration(kHour + 2 * 60 + 3);
    course.viewCnt = 12;
  });
  rows.add(2, [](OrvCourseModel& course) {
    course.liveType = kLive;
    course.addtime = kHalfPastTwo;
    course.startTime = kHalfPastTwo + kHour;
  });
  rows.add(1, [](OrvCourseModel& course) {
    course.liveType = kLive;
    course.addtime = kHalfPastTwo;
  });
  rows.add(3, [](OrvCourseModel& course) { course.setDuration(65.4); });
  rows.add(4, [](OrvCourseModel& course) { course.setDuration(0.4); });
  rows.add(9, [](OrvCourseModel& course) { course.setDuration(0.5); });
  rows.add(5, [](OrvCourseModel& course) { course.orv_local = true; });
  rows.add(5, [](OrvCourseModel& course) {
    course.title = OptionalString();
    course.orv_local = true;
    course.orv_cloudRoomID = 5;
  });
  EXPECT_EQ(rows.text(),
            "ROOM  TITLE  STATE       TIME               LENGTH  VIEWS\n"
            "   7  A      recorded    2026-11-22 14:30  1:02:03     12\n"
            "   8  A      on the air  2026-11-22 15:30               0\n"
            "   9  A      to come     2026-11-22 14:30               0\n"
            "  10  A      over                             1:05      0\n"
            "  11  A      withdrawn                                  0\n"
            "  12  A      9                                0:01      0\n"
            "  13  A      local                                      0\n"
            "  14         published                                  0\n");
}

}  // namespace
}  // namespace orv::test::course_table_test
