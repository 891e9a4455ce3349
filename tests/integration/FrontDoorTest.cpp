// The front door on real sockets, real files and the embedded server: what its other tests do in virtual time, once more.

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/LocalCourses.h>

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv {
namespace {

using namespace std::chrono_literals;

class FrontDoor : public test::LiveLinkTest {
 protected:
  FrontDoor() {
    server.start();
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
    // A person who tries again.
    if (list.canLoadMore() || (list.lastError() && client->link().isUp())) list.loadMore();
    return list.atEnd();
  });
  EXPECT_TRUE(complete) << list.size();
  EXPECT_TRUE(isCut);
  EXPECT_EQ(list.keys(), listed());
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
  client.reset();
  ClientOptions options;
  options.server = server.url();
  options.version = "1.0";
  options.build = "1";
  client = Client::start(std::move(options)).value();
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
}  // namespace orv
