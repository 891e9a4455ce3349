// A page costs as many file operations in a long list as in a short one.

#include "tests/unit/course/PagingFixture.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <system_error>

namespace orv::page_cost_test {

namespace {

using testing::FileOperation;

constexpr std::int64_t kShort = 90;
constexpr std::int64_t kLong = 3'000;

class PageCost : public PagingFixture {
 protected:
  struct Cost {
    std::uint64_t writes = 0, reads = 0;
    friend bool operator==(const Cost&, const Cost&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Cost& cost) {
      return out << cost.writes << " writes, " << cost.reads << " reads";
    }
  };
  Cost costOf(std::uint64_t start) {
    platform.files().resetCounters();
    EXPECT_EQ(getCourses(start, 30, true), (Answer{true, 30}));
    return {platform.files().calls(FileOperation::WriteAtomically),
            platform.files().calls(FileOperation::Read)};
  }
  /// Lists as many courses as a pass has brought, and 60 more on the server; each length has rooms of its own.
  void list(std::int64_t count) {
    const std::int64_t last = count * 10;
    recorded.clear();
    listRooms(last + count + 59, last);
    courses().setCloudCourseList(roomKeys(last + count + 59, last + 60));
  }
};

TEST_F(PageCost, PageOfNewCoursesWritesThemAndTheListOnce) {
  signIn();
  list(kShort);
  EXPECT_EQ(costOf(kShort).writes, 31u);
  list(kLong);
  EXPECT_EQ(costOf(kLong), (Cost{31, 30}))
      << "each record is looked for, and the list, of another size, is not read";
  EXPECT_EQ(cloudListFile(), asArray(courses().cloudCourseList()));
  EXPECT_EQ(courses().getRecordCourseCount(), static_cast<std::uint64_t>(kLong + 30));
}

TEST_F(PageCost, PageThatChangesNothingWritesNothing) {
  signIn();
  list(kShort);
  costOf(kShort);
  EXPECT_EQ(costOf(kShort), (Cost{0, 31}));
  list(kLong);
  costOf(kLong);
  EXPECT_EQ(costOf(kLong), (Cost{0, 31}));
}

TEST_F(PageCost, ListThatAnotherProgramHasChangedIsWrittenAgain) {
  signIn();
  list(kLong);
  costOf(kLong);
  const std::string path = *courses().cloudCourseListFile();
  const std::string ours = *platform.files().contents(path);
  std::string others = ours;
  others.replace(others.find("30500"), 5, "30501");
  platform.files().put(path, others);
  EXPECT_EQ(costOf(kLong).writes, 1u) << "of the same size";
  EXPECT_EQ(platform.files().contents(path), ours);
  std::error_code error;
  platform.files().remove(path, error);
  EXPECT_EQ(costOf(kLong).writes, 1u);
  EXPECT_EQ(platform.files().contents(path), ours);
}

TEST_F(PageCost, PageThatTheDiskHasRefusedIsWrittenTheNextTime) {
  signIn();
  list(kLong);
  platform.files().failAlways(FileOperation::WriteAtomically);
  costOf(kLong);
  platform.files().clearFailures();
  EXPECT_EQ(cloudListFile(), json::array{"no file"});
  EXPECT_EQ(costOf(kLong).writes, 31u);
  EXPECT_EQ(cloudListFile(), asArray(courses().cloudCourseList()));
}

}  // namespace

}  // namespace orv::page_cost_test
