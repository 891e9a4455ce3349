// What a host is easily trapped by, on real sockets and the embedded server: lists that are reordered while they are read,
// links that are lost without a word, requests that draw the same identifier. The clocks run faster than the system's.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/CourseList.h>

#include <devserver/DevServer.h>
#include <devserver/faults/Cut.h>
#include <tests/support/HurriedPlatform.h>
#include <tests/support/LiveLink.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::front_door_traps_test {
namespace {

using namespace std::chrono_literals;
using devserver::Cut;

constexpr std::size_t kPages = 4;
constexpr std::size_t kCourses = (kPages - 1) * 30 + 5;

/// In place before anything of the library is used.
struct Hurry {
  test::HurriedPlatform& platform = test::HurriedPlatform::install();
};

class FrontDoorTraps : protected Hurry, public test::LiveLinkTest {
 protected:
  FrontDoorTraps() {
    server.start();
    ClientOptions options;
    options.server = server.url();
    options.version = "1.0";
    options.build = "1";
    client = Client::start(options).value();
    heard = client->link().onChanged([this](const LinkChange& change) {
      if (change.now.failure) troubles.push_back(change.now.failure->trouble);
    });
  }

  /// Signs in to a school that has only these live courses, in the order of their rooms.
  void signInToLiveCourses() {
    std::optional<SignInResult> result;
    const auto signing =
        client->session().signIn("13800000001", "classroom").then([&](const SignInResult& told) {
          result = told;
        });
    ASSERT_TRUE(pumpUntil([&] { return result.has_value(); }));
    ASSERT_TRUE(*result) << result->text();
    for (const std::int64_t room : listed()) server.removeCourse(room);
    rooms = server.addCourses(kCourses, {{"liveType", 1}, {"status", 1}, {"startTime", kStart}});
    ASSERT_EQ(listed(), rooms);
  }
  /// The live courses that are coming, in the server's order.
  std::vector<std::int64_t> listed() {
    const json::object reply = ask("Course.Get.Coming", {{"start", 1},
                                                         {"limit", 500},
                                                         {"classroomID", 5001},
                                                         {"uID", 100001},
                                                         {"status", 1},
                                                         {"order", "asc"},
                                                         {"test", 0}});
    std::vector<std::int64_t> found;
    for (const auto& item : reply.at("v").at("data").as_array()) {
      found.push_back(item.at("roomID").to_number<std::int64_t>());
    }
    return found;
  }
  /// How many pages the list has asked for since the server forgot its frames.
  std::size_t pagesAsked() const {
    return static_cast<std::size_t>(std::ranges::count_if(server.receivedFrames(), [](const auto& frame) {
      return frame.text.find("Course.Get.Coming") != std::string::npos;
    }));
  }
  bool fill(CourseList& list) {
    return pumpUntil([&] {
      if (list.canLoadMore()) list.loadMore();
      return list.atEnd();
    });
  }
  /// Refreshes the list, and changes the server's when the second page is asked for; returns the number of requests.
  std::size_t refreshWhile(CourseList& list, const std::function<void()>& change) {
    server.clearReceivedFrames();
    bool isChanged = false;
    list.refresh();
    EXPECT_TRUE(pumpUntil([&] {
      if (!isChanged && pagesAsked() == 2) {
        isChanged = true;
        change();
      }
      return !list.isLoading();
    }));
    EXPECT_TRUE(isChanged);
    return pagesAsked();
  }
  bool wasTold(LinkTrouble trouble) const { return std::ranges::find(troubles, trouble) != troubles.end(); }

  static constexpr std::int64_t kStart = 2'000'000'000;
  DevServer server;
  std::unique_ptr<Client> client;
  Subscription heard;
  std::vector<LinkTrouble> troubles;
  std::vector<std::int64_t> rooms;
};

TEST_F(FrontDoorTraps, AListThatIsReorderedWhileItIsReadIsRightAfterABoundedNumberOfRequests) {
  signInToLiveCourses();
  CourseList list = CourseList::live(1);
  ASSERT_TRUE(fill(list));
  ASSERT_EQ(list.keys(), rooms);
  // So the change comes while pages are on their way.
  server.faults().delayReplies(20ms, "Course.Get.Coming");
  // From behind to the front: courses that were read come again.
  const std::size_t forwards = refreshWhile(list, [this] {
    for (const std::size_t index : {80u, 81u}) server.changeCourse(rooms[index], {{"startTime", kStart - 1}});
  });
  EXPECT_EQ(list.keys(), listed());
  EXPECT_NE(list.keys(), rooms);
  // And back: others slip past between two pages.
  const std::size_t backwards = refreshWhile(list, [this] {
    for (const std::size_t index : {80u, 81u}) server.changeCourse(rooms[index], {{"startTime", kStart + 1}});
  });
  EXPECT_EQ(list.keys(), listed());
  EXPECT_NE(list.keys(), rooms);
  for (const std::size_t requests : {forwards, backwards}) {
    EXPECT_GT(requests, kPages) << "it was seen to move";
    EXPECT_LE(requests, 7 * kPages);
  }
  // At rest it takes one request a page.
  EXPECT_EQ(refreshWhile(list, [] {}), kPages);
}

TEST_F(FrontDoorTraps, AListGoesOnAfterItsServerFellSilentWhileItWasRead) {
  signInToLiveCourses();
  CourseList list = CourseList::live(1);
  list.loadMore();
  ASSERT_TRUE(pumpUntil([&] { return list.size() == 30; }));
  server.faults().setSilent(true);
  list.loadMore();
  // The connection stays open: only that nothing comes tells that it is lost.
  ASSERT_TRUE(pumpUntil([&] { return wasTold(LinkTrouble::NoAnswer); })) << client->link().sentence();
  EXPECT_EQ(list.size(), 30u) << "a loss keeps the rows";
  // Whether the link is replaced now, or answers again before that.
  server.faults().setSilent(false);
  ASSERT_TRUE(fill(list)) << client->link().sentence();
  EXPECT_EQ(list.keys(), rooms);
}

TEST_F(FrontDoorTraps, AListGoesOnAfterALinkWhoseServerDidNotAnswerPing) {
  signInToLiveCourses();
  CourseList list = CourseList::live(1);
  list.loadMore();
  ASSERT_TRUE(pumpUntil([&] { return list.size() == 30; }));
  ASSERT_TRUE(waitForReconnectPause());
  server.faults().dropReplies(1, "Course.Get.Coming");
  server.clearReceivedFrames();
  list.loadMore();
  ASSERT_TRUE(pumpUntil([&] { return pagesAsked() == 1; }));
  server.faults().setPingAnswer(std::nullopt);
  ASSERT_EQ(server.cut({Cut::Kind::Reset, 0, ""}), 1u);
  ASSERT_TRUE(pumpUntil([&] { return wasTold(LinkTrouble::Unconfirmed); })) << client->link().sentence();
  EXPECT_FALSE(client->link().isUp());
  EXPECT_EQ(list.size(), 30u) << "a loss keeps the rows";
  server.faults().setPingAnswer("PONG");
  ASSERT_TRUE(fill(list)) << client->link().sentence();
  EXPECT_EQ(list.keys(), rooms);
}

TEST_F(FrontDoorTraps, RequestsThatDrawTheSameIdentifierAreEachAnswered) {
  signInToLiveCourses();
  platform.setEqualDraws(7);
  std::map<int, std::int64_t> answers;
  std::vector<PendingCallback> waiting;
  CourseList list = CourseList::live(1);
  list.loadMore();
  for (int number = 0; number < 20; ++number) {
    waiting.push_back(orv::ask<&QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock>(
                          "Dev.Echo", json::object{{"number", number}})
                          .then([&answers, number](const Reply& reply) {
                            ASSERT_TRUE(reply) << reply.sentence();
                            answers[number] =
                                reply.data()->at("values").at("number").to_number<std::int64_t>();
                          }));
  }
  ASSERT_TRUE(pumpUntil([&] { return answers.size() == waiting.size(); }));
  for (const auto& [number, answer] : answers) EXPECT_EQ(answer, number);
  ASSERT_TRUE(fill(list));
  EXPECT_EQ(list.keys(), rooms);
}

}  // namespace
}  // namespace orv::front_door_traps_test
