// Local courses that are handed to the server.

#include <orvnetwork/client/LocalCourseTrouble.h>
#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/client/Pending.h>
#include <orvnetwork/data/Error.h>

#include "LocalCoursesFixture.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv::local_course_publishing_test {
namespace {

class LocalCoursePublishing : public LocalCoursesFixture {
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
}  // namespace orv::local_course_publishing_test
