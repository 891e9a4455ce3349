#include <orvnetwork/course/detail/RecordsAhead.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

namespace orv::records_ahead_test {

namespace {

using testing::FileOperation;

class RecordsAheadTest : public ::testing::Test {
 protected:
  RecordsAheadTest() {
    Console::setSink([](std::string_view) {});
    courses.open("base");
    for (const char* key : {"1", "2", "3"}) put(key, "old");
    courses.list(0).assign({"1", "2"});
    courses.list(1).assign({"3"});
    disk.resetCounters();
  }
  ~RecordsAheadTest() override { Console::setSink(nullptr); }

  void put(const std::string& key, const char* title) {
    disk.put(courses.files().folder().value() + "/" + key + ".plist",
             writePropertyList(json::object{{"roomID", std::stoll(key)}, {"title", title}}).value());
  }
  static json::object item(int room) { return {{"roomID", room}}; }
  static Collection::Course makeCourse(int room, const char* title) {
    return makeRecord<OrvCourseModel>(json::object{{"roomID", room}, {"title", title}});
  }
  static std::string titleOf(const Collection::Course& course) {
    return course != nullptr ? course->title.get().value_or("") : "none";
  }
  std::uint64_t reads() const { return disk.calls(FileOperation::Read); }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  testing::SimulatedFileSystem& disk = platform.files();
  Collection courses{{"courses", "list.plist", Durability::Plain, 2}};
};

TEST_F(RecordsAheadTest, ReadsWhatIsListedAndNotInMemory) {
  courses.list(0).append("4");
  courses.memory().set("4", makeCourse(4, "memory"));
  const json::array values{item(1), item(2), item(3), item(4), "no course", item(1)};
  const PageItems items(1, values);
  RecordsAhead ahead(courses, 0, items);
  EXPECT_EQ(reads(), 2u) << "of this list, each once";
  ahead.begin();
  EXPECT_EQ(titleOf(ahead.take("1")), "old");
  EXPECT_EQ(titleOf(ahead.take("2")), "old");
  EXPECT_EQ(reads(), 2u);
  EXPECT_EQ(titleOf(ahead.take("3")), "old") << "what was not read is read now";
  EXPECT_EQ(reads(), 3u);
}

TEST_F(RecordsAheadTest, ReadsNothingOfAListThatThereIsNot) {
  const json::array values{item(1), item(3)};
  const PageItems items(1, values);
  RecordsAhead ahead(courses, 2, items);
  EXPECT_EQ(reads(), 0u);
}

TEST_F(RecordsAheadTest, HandsOutARecordOnce) {
  const json::array values{item(1)};
  const PageItems items(1, values);
  RecordsAhead ahead(courses, 0, items);
  ahead.begin();
  const auto first = ahead.take("1"), second = ahead.take("1");
  EXPECT_EQ(titleOf(second), "old");
  EXPECT_NE(first, second) << "two who change it must not find each other's changes";
}

TEST_F(RecordsAheadTest, IsNotUsedWhenAFileHasChangedMeanwhile) {
  const json::array values{item(1), item(2)};
  const PageItems items(1, values);
  {
    RecordsAhead ahead(courses, 0, items);
    courses.files().write("1", *makeCourse(1, "new"));
    ahead.begin();
    EXPECT_EQ(titleOf(ahead.take("1")), "new");
  }
  {
    RecordsAhead ahead(courses, 0, items);
    courses.files().writeLater("2", *makeCourse(2, "soon"));
    ahead.begin();
    EXPECT_EQ(titleOf(ahead.take("2")), "soon");
  }
  {
    RecordsAhead ahead(courses, 0, items);
    courses.files().remove("1");
    courses.files().removeLater("2");
    ahead.begin();
    EXPECT_EQ(ahead.take("1"), nullptr);
    EXPECT_EQ(ahead.take("2"), nullptr);
  }
}

TEST_F(RecordsAheadTest, IsNotUsedInAnotherFolder) {
  const json::array values{item(1)};
  const PageItems items(1, values);
  RecordsAhead ahead(courses, 0, items);
  courses.files().setFolder("/home/user/Documents/elsewhere");
  ahead.begin();
  EXPECT_EQ(ahead.take("1"), nullptr);
}

TEST_F(RecordsAheadTest, IsNotUsedInAnotherCatalogue) {
  const json::array values{item(1)};
  const PageItems items(1, values);
  RecordsAhead ahead(courses, 0, items);
  Collection others{{"others", "list.plist", Durability::Plain, 2}};
  others.open("base");
  courses.follow(others);
  ahead.begin();
  EXPECT_EQ(ahead.take("1"), nullptr);
}

}  // namespace

}  // namespace orv::records_ahead_test
