// The front door on real sockets, real files and the embedded server: what its other tests do in virtual time, once more.

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv::front_door_test {
namespace {

using namespace std::chrono_literals;

// Sanitized programs take minutes for ten thousand, and see nothing more in them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kMany = 1'000;
#else
constexpr std::size_t kMany = 10'000;
#endif

class FrontDoor : public test::LiveLinkTest {
 protected:
  FrontDoor() {
    server.start();
    startClient();
  }

  void startClient() {
    client.reset();
    ClientOptions options;
    options.server = server.url();
    options.version = "1.0";
    options.build = "1";
    client = Client::start(std::move(options)).value();
  }

  /// Waits for an answer.
  template <typename Answer, typename T>
  Answer answerOf(Pending<T> pending) {
    std::optional<Answer> answer;
    const auto waiting = std::move(pending).then([&](Answer told) { answer.emplace(std::move(told)); });
    EXPECT_TRUE(pumpUntil([&] { return answer.has_value(); }));
    return *std::move(answer);
  }
  SignInResult signIn(const std::string& mobile = "13800000001") {
    return answerOf<SignInResult>(client->session().signIn(mobile, "classroom"));
  }
  void signInAndClearTheSchool() {
    ASSERT_TRUE(signIn());
    for (const std::int64_t room : listed()) server.removeCourse(room);
  }

  /// The recorded courses of the classroom in the server's order.
  std::vector<std::int64_t> listed() {
    std::vector<std::int64_t> rooms;
    constexpr std::size_t kMost = 500;
    for (std::size_t page = 1; rooms.size() == (page - 1) * kMost; ++page) {
      const json::object reply = ask(
          "Course.Get.Items",
          {{"classroomID", "5001"}, {"start", page}, {"liveType", 2}, {"limit", kMost}, {"draft", false}});
      for (const auto& item : reply.at("v").at("data").as_array()) {
        rooms.push_back(item.at("roomID").to_number<std::int64_t>());
      }
    }
    return rooms;
  }
  /// Reads a list to its end, as a view does that is scrolled; false when it did not get there.
  bool fill(CourseList& list) {
    list.loadMore();
    return pumpUntil(
        [&] {
          if (list.canLoadMore()) list.loadMore();
          return list.atEnd() || list.lastError().has_value();
        },
        240s);
  }

  DevServer server;
  std::unique_ptr<Client> client;
};

TEST_F(FrontDoor, ListsOfEveryLengthAreTheServers) {
  signInAndClearTheSchool();
  std::size_t have = 0;
  for (const std::size_t length : {0u, 1u, 29u, 30u, 31u, 60u, 90u}) {
    server.addCourses(length - have);
    have = length;
    CourseList list = CourseList::recorded();
    ASSERT_TRUE(fill(list)) << length;
    EXPECT_TRUE(list.atEnd()) << length;
    EXPECT_EQ(list.keys(), listed()) << length;
    EXPECT_EQ(list.size(), length);
    list.refresh();
    ASSERT_TRUE(pumpUntil([&] { return list.atEnd(); }));
    EXPECT_EQ(list.size(), length) << "after it was read to its end and refreshed";
  }
}

TEST_F(FrontDoor, AListGoesOnWhereTheLinkIsCutWhileItIsRead) {
  signInAndClearTheSchool();
  server.addCourses(300);
  CourseList list = CourseList::recorded();
  list.loadMore();
  bool isCut = false;
  const bool complete = pumpUntil([&] {
    if (list.size() > 90 && !std::exchange(isCut, true)) server.cut({});
    if (list.canLoadMore()) list.loadMore();
    return list.atEnd();
  });
  EXPECT_TRUE(complete) << list.size() << (list.lastError() ? list.lastError()->text : "");
  EXPECT_TRUE(isCut);
  EXPECT_EQ(list.keys(), listed());
}

TEST_F(FrontDoor, ListsComeToWhatTheServerListsThoughItChangesWhileTheyAreRead) {
  signInAndClearTheSchool();
  const auto rooms = server.addCourses(150);
  CourseList list = CourseList::recorded();
  CourseList coming = CourseList::live(1);
  coming.loadMore();
  list.loadMore();
  int step = 0;
  ASSERT_TRUE(pumpUntil([&] {
    // Between two pages: it grows in front, shrinks, is passed over in part, and a live course begins.
    if (list.size() >= static_cast<std::size_t>(30 * (step + 1)) && step < 4) {
      ++step;
      if (step == 1) server.addCourses(7);
      if (step == 2) server.removeCourse(rooms[40]);
      if (step == 3) server.changeCourse(rooms[30], {{"status", 4}});
      if (step == 4 && coming.size() > 0) server.changeCourse(coming.at(0)->roomID, {{"status", 2}});
    }
    if (list.canLoadMore()) list.loadMore();
    if (coming.canLoadMore()) coming.loadMore();
    return list.atEnd() && coming.atEnd();
  }));
  EXPECT_EQ(step, 4);
  // A course that was left out at first may be known only to the next look.
  list.refresh();
  coming.refresh();
  ASSERT_TRUE(pumpUntil([&] { return list.atEnd() && coming.atEnd(); }));
  auto expected = listed();
  std::erase(expected, rooms[30]);
  EXPECT_EQ(list.keys(), expected);
  for (const auto& course : coming.rows()->all()) EXPECT_EQ(course->status, 1u);
}

TEST_F(FrontDoor, TenThousandCoursesAreRead) {
  signInAndClearTheSchool();
  server.addCourses(kMany);
  CourseList list = CourseList::recorded();
  ASSERT_TRUE(fill(list));
  EXPECT_EQ(list.size(), kMany);
  EXPECT_EQ(list.keys(), listed());
}

TEST_F(FrontDoor, AnotherUserMayComeWithEverythingUnderWay) {
  ASSERT_TRUE(signIn());
  CourseList recorded = CourseList::recorded();
  CourseList live = CourseList::live(1);
  LocalCourses courses;
  recorded.loadMore();
  live.loadMore();
  bool isMade = false;
  const auto making = courses.create().then([&](const LocalCourses::Answer&) { isMade = true; });
  const auto other = signIn("13800000002");
  ASSERT_TRUE(other) << other.text();
  ASSERT_TRUE(pumpUntil([&] { return isMade; })) << "every wait ends";
  const auto isOwn = [&](const CourseList& list) {
    return std::ranges::all_of(list.rows()->all(), [](const auto& row) { return row->classroomID == 5002; });
  };
  ASSERT_TRUE(pumpUntil([&] { return recorded.size() > 0 && isOwn(recorded) && isOwn(live); }));
  EXPECT_EQ(client->session().user()->phone.get(), "13800000002");
}

TEST_F(FrontDoor, AFreshSignInHoldsThoughTheStoredTokenIsRefused) {
  ASSERT_TRUE(signIn());
  client.reset();
  server.revokeTokens();
  startClient();
  // The stored token is asked for as soon as the link is up, and the sign-in with it.
  ASSERT_TRUE(signIn());
  EXPECT_TRUE(pumpUntil([&] { return client->session().state() == SessionState::Good; }));
  QXUserInfoMgr::getInstance().refresheSession();
  ASSERT_TRUE(server.waitForFrame(
      [](const auto& frame) { return frame.text.find("User.Post.Session") != std::string::npos; }, 60s));
  EXPECT_EQ(client->session().state(), SessionState::Good) << "the token is the new one";
}

TEST_F(FrontDoor, ASessionThatTheServerEndsIsRefused) {
  ASSERT_TRUE(signIn());
  server.revokeTokens();
  startClient();
  EXPECT_TRUE(pumpUntil([&] { return client->session().state() == SessionState::Refused; }));
  EXPECT_NE(client->session().user(), nullptr) << "who it was is still known";
}

TEST_F(FrontDoor, RowsGoAndComeWithTheUser) {
  ASSERT_TRUE(signIn());
  CourseList list = CourseList::recorded();
  ASSERT_TRUE(fill(list));
  ASSERT_GT(list.size(), 0u);
  const auto left = answerOf<SignOutResult>(client->session().signOut());
  EXPECT_TRUE(left) << left.text();
  EXPECT_TRUE(left.isServerTold());
  ASSERT_TRUE(pumpUntil([&] { return list.size() == 0; }));
  ASSERT_TRUE(signIn());
  ASSERT_TRUE(pumpUntil([&] { return list.size() > 0; })) << "it is loaded for who comes";
  EXPECT_EQ(client->session().state(), SessionState::Good);
}

TEST_F(FrontDoor, ASessionThatAnotherDeviceEndsIsTakenOver) {
  ASSERT_TRUE(signIn());
  server.push("User.OtherDevice.Logout", {}, "13800000001");
  EXPECT_TRUE(pumpUntil([&] { return client->session().state() == SessionState::TakenOver; }));
}

TEST_F(FrontDoor, AStoredUserIsRestoredByTheNextClient) {
  ASSERT_TRUE(signIn());
  startClient();
  EXPECT_EQ(client->session().state(), SessionState::Restoring);
  EXPECT_TRUE(pumpUntil([&] { return client->session().state() == SessionState::Good; }));
}

TEST_F(FrontDoor, TheLinkTellsThatTheServerHasGoneAndIsBack) {
  ASSERT_TRUE(pumpUntil([&] { return client->link().isUp(); }));
  server.stop();
  ASSERT_TRUE(pumpUntil([&] {
    const auto& failure = client->link().snapshot().failure;
    return failure && failure->trouble == LinkTrouble::Refused;
  })) << client->link().sentence();
  server.start();
  client->link().tryNow();
  EXPECT_TRUE(pumpUntil([&] { return client->link().isUp(); })) << client->link().sentence();
}

TEST_F(FrontDoor, LocalCoursesOfOneSecondHaveNumbersOfTheirOwn) {
  ASSERT_TRUE(signIn());
  LocalCourses courses;
  CourseList list = CourseList::local();
  std::vector<PendingCallback> waiting;
  std::set<std::int64_t> rooms;
  for (int i = 0; i < 20; ++i) {
    waiting.push_back(courses.create().then([&](const LocalCourses::Answer& made) {
      ASSERT_TRUE(made) << made.error().description;
      rooms.insert((*made)->roomID);
    }));
  }
  ASSERT_TRUE(pumpUntil([&] { return rooms.size() == 20; }));
  ASSERT_TRUE(pumpUntil([&] { return list.size() == 20; })) << "the list follows";
  const auto removed = answerOf<Result<std::int64_t>>(courses.remove(*rooms.begin()));
  EXPECT_TRUE(removed);
  EXPECT_TRUE(pumpUntil([&] { return list.size() == 19; }));
}

}  // namespace
}  // namespace orv::front_door_test
