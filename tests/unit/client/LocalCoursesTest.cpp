#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/PropertyList.h>

#include "SessionStatusFixture.h"

#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace orv::local_courses_test {
namespace {

class LocalCoursesTest : public SessionStatusFixture {
 protected:
  using Course = LocalCourses::Course;
  using Answer = LocalCourses::Answer;

  template <typename T>
  static std::string words(const Result<T>& answer) {
    if (answer) return "done";
    const auto trouble = localCourseTroubleOf(answer.error());
    return trouble ? std::string(nameOf(*trouble)) : answer.error().description;
  }
  /// Waits for an answer.
  template <typename T>
  Result<T> ended(Pending<Result<T>> pending) {
    std::optional<Result<T>> came;
    const auto kept = std::move(pending).then([&](const Result<T>& answer) { came = answer; });
    EXPECT_FALSE(came) << "inside the call";
    runFor(1);
    EXPECT_TRUE(came);
    return came.value_or(Result<T>(Error{"test", 0, "nothing was told"}));
  }
  Course made(json::object fields = {}) { return *ended(courses->create(std::move(fields))); }
  /// What the list on the disk holds.
  std::vector<std::string> listed() const {
    const auto read = readPropertyList(platform.files().contents(folder + "/localCourse.plist").value_or(""));
    std::vector<std::string> keys;
    if (!read || !read->is_array()) return keys;
    for (const auto& key : read->get_array()) keys.emplace_back(std::string_view(key.get_string()));
    return keys;
  }
  /// A text in a course's file; "" when it is not there.
  std::string inRecord(std::int64_t roomID, std::string_view key) const {
    const auto path = folder + "/" + std::to_string(roomID) + ".plist";
    const auto read = readPropertyList(platform.files().contents(path).value_or(""));
    const json::value* const value =
        read && read->is_object() ? read->get_object().if_contains(key) : nullptr;
    return value != nullptr && value->is_string() ? std::string(value->get_string()) : "";
  }
  void failWriting() {
    platform.files().failAlways(testing::FileOperation::WriteAtomically, std::errc::no_space_on_device);
  }

  std::string folder = "/home/user/Documents/orv_course/public/local";
  std::unique_ptr<LocalCourses> courses = std::make_unique<LocalCourses>();
};

TEST_F(LocalCoursesTest, MakesCoursesThatAreOnTheDisk) {
  const Course course =
      made({{"title", "Algebra"}, {"roomID", 5}, {"publishStatus", 1}, {"orv_local", false}});
  EXPECT_EQ(course->title.get(), "Algebra");
  EXPECT_TRUE(course->orv_local);
  EXPECT_EQ(course->publishStatus, 99u);
  EXPECT_NE(course->roomID, 5);
  EXPECT_EQ(listed(), Strings{std::to_string(course->roomID)});
  EXPECT_EQ(inRecord(course->roomID, "title"), "Algebra");
}

TEST_F(LocalCoursesTest, GivesEachANumberOfItsOwnInOneSecond) {
  std::vector<std::int64_t> numbers;
  std::vector<PendingCallback> kept;
  for (int i = 0; i < 100; ++i) {
    kept.emplace_back(
        courses->create().then([&](const Answer& answer) { numbers.push_back((*answer)->roomID); }));
  }
  settle();  // no time passes
  EXPECT_EQ(numbers.size(), 100u);
  EXPECT_EQ(std::set<std::int64_t>(numbers.begin(), numbers.end()).size(), 100u);
  EXPECT_EQ(listed().size(), 100u);
  EXPECT_EQ(listed().front(), std::to_string(numbers.back()));
}

TEST_F(LocalCoursesTest, NeverGivesTheNumberZero) {
  platform.setWallTime(WallTime(std::chrono::seconds(1'700'000'000)));
  platform.settle();
  ASSERT_EQ(1'700'000'000 % 1'000'000, 0);
  EXPECT_EQ(made()->roomID, 1);
  platform.setWallTime(WallTime(std::chrono::seconds(1'700'000'000)));
  EXPECT_EQ(made()->roomID, 2);
}

TEST_F(LocalCoursesTest, DoesNothingOnTheMainThread) {
  platform.holdGlobalQueue(true);
  const auto creating = courses->create();
  const auto reading = courses->all();
  settle();
  EXPECT_FALSE(creating.isReady());
  EXPECT_FALSE(reading.isReady());
  EXPECT_FALSE(platform.files().exists(folder));
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_TRUE(creating.isReady());
  EXPECT_TRUE(reading.isReady());
}

TEST_F(LocalCoursesTest, SavesCopies) {
  const Course course = made({{"title", "One"}});
  course->title = "Two";
  auto saving = courses->save(*course);
  course->title = "Three";
  const Answer saved = ended(std::move(saving));
  ASSERT_TRUE(saved);
  EXPECT_EQ((*saved)->title.get(), "Two");
  EXPECT_EQ(course->title.get(), "Three");
  EXPECT_EQ(inRecord(course->roomID, "title"), "Two");
  (*saved)->title = "Four";
  EXPECT_EQ((*ended(courses->find(course->roomID)))->title.get(), "Two");
}

TEST_F(LocalCoursesTest, SavesOnlyWhatIsThere) {
  const Course course = made();
  ASSERT_TRUE(ended(courses->remove(course->roomID)));
  EXPECT_EQ(words(ended(courses->save(*course))), "NotFound");
  EXPECT_EQ(words(ended(courses->remove(course->roomID))), "NotFound");
  EXPECT_EQ(words(ended(courses->find(course->roomID))), "NotFound");
  EXPECT_EQ(words(ended(courses->remove(0))), "NotFound");
  EXPECT_TRUE(listed().empty());
}

TEST_F(LocalCoursesTest, RemovesTheRecording) {
  const Course course = made();
  const std::string recording = course->courseFolder();
  platform.files().put(recording + "/mp4/1.mp4", "sound");
  EXPECT_EQ(*ended(courses->remove(course->roomID)), course->roomID);
  EXPECT_FALSE(platform.files().exists(recording));
  EXPECT_TRUE(listed().empty());
}

TEST_F(LocalCoursesTest, ListsTheLatestFirst) {
  const Course first = made({{"title", "first"}}), second = made({{"title", "second"}});
  const auto all = ended(courses->all());
  ASSERT_TRUE(all);
  ASSERT_EQ(all->size(), 2u);
  EXPECT_EQ((*all)[0]->title.get(), "second");
  EXPECT_EQ((*all)[1]->title.get(), "first");
}

TEST_F(LocalCoursesTest, WorksInTheOrderAsked) {
  const Course course = made({{"title", "0"}});
  Strings order;
  std::vector<PendingCallback> kept;
  for (int i = 1; i <= 20; ++i) {
    course->title = std::to_string(i);
    kept.emplace_back(courses->save(*course).then(
        [&](const Answer& answer) { order.push_back((*answer)->title.get().value_or("")); }));
  }
  kept.emplace_back(
      courses->remove(course->roomID).then([&](const auto& answer) { order.push_back(words(answer)); }));
  course->title = "late";
  kept.emplace_back(
      courses->save(*course).then([&](const Answer& answer) { order.push_back(words(answer)); }));
  settle();
  ASSERT_EQ(order.size(), 22u);
  EXPECT_EQ(order[0], "1");
  EXPECT_EQ(order[19], "20");
  EXPECT_EQ(order[20], "done");
  EXPECT_EQ(order[21], "NotFound");
}

TEST_F(LocalCoursesTest, AFullDiskTakesNoNewCourse) {
  made({{"title", "there"}});
  failWriting();
  EXPECT_EQ(words(ended(courses->create({{"title", "lost"}}))), "NotWritten");
  EXPECT_EQ(ended(courses->all())->size(), 1u);
  platform.files().clearFailures();
  const Course later = made({{"title", "later"}});
  EXPECT_EQ(ended(courses->all())->size(), 2u);
  EXPECT_EQ(listed().size(), 2u);
}

TEST_F(LocalCoursesTest, WhatCouldNotBeSavedIsAsItWas) {
  const Course course = made({{"title", "old"}});
  failWriting();
  course->title = "new";
  EXPECT_EQ(words(ended(courses->save(*course))), "NotWritten");
  platform.files().clearFailures();
  EXPECT_EQ((*ended(courses->find(course->roomID)))->title.get(), "old");
  made();
  EXPECT_EQ(inRecord(course->roomID, "title"), "old");
}

TEST_F(LocalCoursesTest, TellsThatACourseIsStillOnTheDisk) {
  const Course course = made();
  failWriting();
  EXPECT_EQ(words(ended(courses->remove(course->roomID))), "NotWritten");
}

TEST_F(LocalCoursesTest, EveryFailureOfTheDiskIsToldOrHarmless) {
  const Course course = made({{"title", "0"}});
  std::string onDisk = "0";
  for (std::uint64_t n = 1; n <= 40; ++n) {
    platform.files().failAt(n);
    course->title = std::to_string(n);
    const auto saved = ended(courses->save(*course));
    platform.files().failAt(0);
    if (saved) onDisk = std::to_string(n);
    // A course that was told as not found was not readable at that moment.
    EXPECT_EQ(inRecord(course->roomID, "title"), onDisk) << n << ": " << words(saved);
    if (HasFailure()) return;
  }
  EXPECT_EQ(onDisk, "40");
}

TEST_F(LocalCoursesTest, WhatWasConfirmedIsThereAfterACrash) {
  const Course first = made({{"title", "first"}}), second = made({{"title", "second"}});
  first->title = "changed";
  ASSERT_TRUE(ended(courses->save(*first)));
  ASSERT_TRUE(ended(courses->remove(second->roomID)));
  platform.files().crash(testing::Crash::PowerCut);
  QXCourseManager::getInstance().init();  // as when the program starts
  EXPECT_EQ(listed(), Strings{std::to_string(first->roomID)});
  EXPECT_EQ(inRecord(first->roomID, "title"), "changed");
  const auto all = ended(LocalCourses().all());
  ASSERT_EQ(all->size(), 1u);
  EXPECT_EQ(all->front()->title.get(), "changed");
}

TEST_F(LocalCoursesTest, GoesOnWhenItIsDestroyed) {
  platform.holdGlobalQueue(true);
  bool isTold = false;
  auto kept = courses->create({{"title", "kept"}}).then([&](const Answer& answer) { isTold = bool(answer); });
  const auto dropped = [&] { return courses->create({{"title", "dropped"}}); }();
  courses.reset();
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_TRUE(isTold);
  EXPECT_EQ(listed().size(), 2u);
}

TEST_F(LocalCoursesTest, MayBeDestroyedInsideItsCallback) {
  int calls = 0;
  PendingCallback kept = courses->create().then([&](const Answer&) {
    ++calls;
    courses.reset();
    kept = {};
  });
  settle();
  EXPECT_EQ(calls, 1);
}

TEST_F(LocalCoursesTest, KeepsUsersApart) {
  signedIn();
  folder = "/home/user/Documents/orv_course/" + ann + "/5001/local";
  const Course course = made({{"title", "Ann's"}});
  EXPECT_EQ(inRecord(course->roomID, "title"), "Ann's");
  platform.holdGlobalQueue(true);
  auto saving = courses->save(*course);
  platform.holdGlobalQueue(false);
  users().setUserInfo(nullptr);
  EXPECT_EQ(words(ended(std::move(saving))), "OtherUser");
  EXPECT_EQ(words(ended(courses->find(course->roomID))), "NotFound");
}

class LocalCoursePublishing : public LocalCoursesTest {
 protected:
  void SetUp() override { signedIn(); }
};

TEST_F(LocalCoursePublishing, NotesTheRoomThatTheServerGives) {
  const Course course = made({{"title", "Algebra"}, {"orv_createInfo", {{"intro", "x"}, {"title", "Mine"}}}});
  const Answer published = ended(courses->publish(course->roomID, {{"intro", "y"}}));
  ASSERT_TRUE(published) << words(published);
  const auto sent = server.lastRequest("Course.Post.Create")->at("v").as_object();
  EXPECT_EQ(sent.at("title"), json::value("Mine"));
  EXPECT_EQ(sent.at("intro"), json::value("y"));
  EXPECT_EQ((*published)->publishStatus, 1u);
  const auto room = (*published)->orv_cloudRoomID.get();
  EXPECT_TRUE(school.course(room));
  // Not again.
  ASSERT_TRUE(ended(courses->publish(course->roomID)));
  EXPECT_EQ(asked("Course.Post.Create"), 1u);
  // An older copy does not undo it.
  const Answer saved = ended(courses->save(*course));
  ASSERT_TRUE(saved);
  EXPECT_EQ((*saved)->orv_cloudRoomID, room);
  EXPECT_EQ((*saved)->publishStatus, 1u);
}

TEST_F(LocalCoursePublishing, IsRemovedWhenTheServerConfirms) {
  const Course course = made({{"title", "Algebra"}});
  const Answer published = ended(courses->publish(course->roomID));
  ASSERT_TRUE(published);
  school.publish((*published)->orv_cloudRoomID);
  runFor(1);
  EXPECT_EQ(words(ended(courses->find(course->roomID))), "NotFound");
}

TEST_F(LocalCoursePublishing, TellsARefusalAndSilence) {
  const Course course = made({{"title", "Algebra"}});
  school.refuse("Course.Post.Create", 5, "no more rooms", 1);
  const Answer refused = ended(courses->publish(course->roomID));
  EXPECT_EQ(words(refused), "Refused");
  EXPECT_EQ(refused.error(), (Error{"OrvReply", 5, "no more rooms"}));
  school.ignore("Course.Post.Create");
  Strings ends;
  const auto kept =
      courses->publish(course->roomID).then([&](const Answer& answer) { ends.push_back(words(answer)); });
  LocalCourses others;
  const auto second =
      others.publish(course->roomID).then([&](const Answer& answer) { ends.push_back(words(answer)); });
  runFor(11);
  EXPECT_EQ(ends, (Strings{"NotAllowed", "NoAnswer"}));
  EXPECT_EQ((*ended(courses->find(course->roomID)))->orv_cloudRoomID, 0);
  EXPECT_EQ(words(ended(courses->publish(77))), "NotFound");
}

TEST_F(LocalCoursePublishing, ARefusalWhoseCodeIsANumberOfOursIsTheServersAllTheSame) {
  const Course course = made({{"title", "Algebra"}});
  school.refuse("Course.Post.Create", static_cast<std::int32_t>(LocalCourseTrouble::OtherUser), "", 1);
  const Answer refused = ended(courses->publish(course->roomID));
  EXPECT_EQ(words(refused), "Refused");
  EXPECT_EQ(refused.error().code, 3);
  EXPECT_FALSE(refused.error().description.empty());
  EXPECT_EQ(localCourseTroubleOf({"OrvPending", 3, ""}), std::nullopt);
}

TEST_F(LocalCoursePublishing, ThatIsHeldForASessionIsNotSentWithThatOfAnotherUser) {
  const Course course = made({{"title", "Algebra"}});
  school.endSessions();
  school.dropTokens(ann);  // no renewal frees it
  auto publishing = courses->publish(course->roomID);
  runFor(1);
  ASSERT_EQ(parkedRequests(), 1u);
  signOut();
  runFor(10);
  EXPECT_TRUE(publishing.isReady());
  EXPECT_EQ(words(ended(std::move(publishing))), "OtherUser");
  signIn("13800000002", "other");
  runFor(30);
  ASSERT_EQ(state(), "Good");
  EXPECT_EQ(asked("Course.Post.Create"), 1u);
  EXPECT_EQ(school.courseCount(), 0u);
}

TEST_F(LocalCoursePublishing, ThatIsHeldForASessionEnds) {
  const Course course = made({{"title", "Algebra"}});
  school.endSessions();
  school.dropTokens(ann);
  auto publishing = courses->publish(course->roomID);
  runFor(19.9);
  EXPECT_FALSE(publishing.isReady());
  runFor(0.2);
  EXPECT_EQ(words(ended(std::move(publishing))), "NoAnswer");
  // The course is not kept as one that is being announced, by whatever object.
  signIn();
  runFor(5);
  EXPECT_EQ(asked("Course.Post.Create"), 1u);
  EXPECT_TRUE(ended(LocalCourses().publish(course->roomID)));
}

TEST_F(LocalCoursePublishing, TellsThatTheRoomCouldNotBeNoted) {
  const Course course = made({{"title", "Algebra"}});
  failWriting();
  EXPECT_EQ(words(ended(courses->publish(course->roomID))), "NotWritten");
  EXPECT_EQ(school.courseCount(), 1u);
}

TEST_F(LocalCoursePublishing, NamesTheRoomThatItWasMadeForNothing) {
  const Course course = made({{"title", "Algebra"}});
  failWriting();
  const Answer unwritten = ended(courses->publish(course->roomID));
  platform.files().clearFailures();
  ASSERT_FALSE(unwritten);
  const std::string text = unwritten.error().description, named = "; the server has made room ";
  ASSERT_NE(text.find(named), std::string::npos) << text;
  const std::int64_t room = std::stoll(text.substr(text.find(named) + named.size()));
  EXPECT_TRUE(school.course(room)) << text;
  school.delay("Course.Post.Create", Seconds(2));
  auto publishing = courses->publish(course->roomID);
  runFor(1);
  ASSERT_TRUE(ended(courses->remove(course->roomID)));
  runFor(2);
  const Answer gone = ended(std::move(publishing));
  EXPECT_EQ(words(gone), "NotFound");
  EXPECT_EQ(gone.error().description, "there is no local course " + std::to_string(course->roomID) + named +
                                          std::to_string(room + 1) + " for it");
}

TEST_F(LocalCoursePublishing, NotesNothingForAnotherUser) {
  const Course course = made({{"title", "Algebra"}});
  school.delay("Course.Post.Create", Seconds(2));
  auto publishing = courses->publish(course->roomID);
  runFor(1);
  json::object user = *school.user(bob);
  user["token"] = json::string(school.issueToken(bob));
  users().setUserInfo(makeRecord<OrvUserInfoModel>(user));
  runFor(2);
  EXPECT_EQ(words(ended(std::move(publishing))), "OtherUser");
}

TEST_F(LocalCoursePublishing, GoesOnWhenItIsDestroyed) {
  const Course course = made({{"title", "Algebra"}});
  school.delay("Course.Post.Create", Seconds(1));
  bool isTold = false;
  const auto kept =
      courses->publish(course->roomID).then([&](const Answer& answer) { isTold = bool(answer); });
  settle();
  courses.reset();
  runFor(2);
  EXPECT_TRUE(isTold);
}

}  // namespace
}  // namespace orv::local_courses_test
