// What the host's closures hold: it is let go when the closure cannot be called any more, on the thread on which it would
// have been called.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/HostObject.h>
#include <tests/unit/course/PagingFixture.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace orv::host_objects_test {
namespace {

class HostObjects : public PagingFixture {
 protected:
  test::HostObject object() { return test::HostObject(counts); }
  CompleteBlock completion() {
    return [held = object(), this](const auto&, bool, const json::object&) { ++completed; };
  }
  TimeoutBlock timeout() {
    return [held = object(), this](const auto&) { ++timedOut; };
  }
  std::shared_ptr<QXRequestItem> request(const std::string& command) {
    return QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(command, json::object(),
                                                                                completion(), timeout());
  }
  /// Runs a piece of the host's on a thread that is not main.
  void onAnotherThread(Task work) {
    platform.globalQueue().post(std::move(work));
    settle();
  }
  void expectAllLetGoOnMain() {
    EXPECT_EQ(counts.alive, 0);
    EXPECT_GT(counts.endedOnMain, 0);
    EXPECT_EQ(counts.endedElsewhere, 0);
  }

  test::HostObjectCounts counts;
  int completed = 0;
  int timedOut = 0;
};

TEST_F(HostObjects, OfAnAnsweredRequestEndWithItsCallback) {
  answerAll({{"ret", 0}});
  bringUp();
  link.sendRequestItem(request("a"));
  EXPECT_EQ(counts.alive, 2);
  settle();
  EXPECT_EQ(completed, 1);
  expectAllLetGoOnMain();
}

TEST_F(HostObjects, OfARequestThatTimesOutEndWithItsCallbackAlsoWhenTheLinkTakesNothing) {
  bringUp();
  platform.network().breakLink(server.latest());
  for (int i = 0; i < 300; ++i) {
    const auto item = request("request");
    item->timestamp = i + 1;
    link.sendRequestItem(item);
  }
  EXPECT_EQ(counts.alive, 600);
  runFor(10);
  EXPECT_EQ(timedOut, 300);
  expectAllLetGoOnMain();
}

TEST_F(HostObjects, OfARequestThatAnotherOneReplacesEndWhenItIsReplaced) {
  bringUp();
  instead = [](const json::object&) { return std::nullopt; };
  const auto first = request("a");
  const auto second = first->copyWithZone();
  second->completeBlock = nullptr;
  second->timeoutBlock = nullptr;
  link.sendRequestItem(first->copyWithZone());
  settle();
  EXPECT_EQ(counts.alive, 4);
  link.sendRequestItem(second);
  settle();
  EXPECT_EQ(counts.alive, 2) << "those of the test's own copy";
  EXPECT_EQ(counts.endedElsewhere, 0);
}

TEST_F(HostObjects, OfAParkedRequestEndWhenItIsAnsweredAtLast) {
  bringUp();
  answerAll({{"ret", 1001}});
  link.sendRequestItem(request("a"));
  settle();
  EXPECT_EQ(link.parkedRequestCount(), 1u);
  EXPECT_EQ(counts.alive, 2);
  answerAll({{"ret", 0}});
  link.sendRequestItem(request("User.Post.Session"));
  settle();
  EXPECT_EQ(completed, 2);
  expectAllLetGoOnMain();
}

TEST_F(HostObjects, OfARequestOfAnotherThreadEndOnMain) {
  answerAll({{"ret", 0}});
  bringUp();
  onAnotherThread([this, complete = completion(), expire = timeout()]() mutable {
    QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock("7", std::move(complete), std::move(expire));
  });
  EXPECT_EQ(completed, 1);
  expectAllLetGoOnMain();
}

TEST_F(HostObjects, OfARequestThatFindsTheLinkClosedEndOnMain) {
  onAnotherThread([this, complete = completion(), expire = timeout()]() mutable {
    QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock("7", std::move(complete), std::move(expire));
    EXPECT_EQ(timedOut, 1);
  });
  expectAllLetGoOnMain();
}

TEST_F(HostObjects, OfARangeEndWithItsCallbackOnAWorker) {
  listRooms(40, 1);
  signIn();
  int answered = 0;
  courses().getCoursesWithStartIndex_count_force_coursesBlock(
      0, 10, true,
      [held = std::make_shared<test::HostObject>(counts), &answered](bool, std::int64_t) { ++answered; });
  EXPECT_EQ(counts.alive, 1);
  settle();
  EXPECT_EQ(answered, 1);
  EXPECT_EQ(counts.alive, 0);
  EXPECT_EQ(counts.endedOnMain, 0);
}

TEST_F(HostObjects, OfARangeThatAnotherUserLeavesUnansweredEndOnAWorker) {
  listRooms(40, 1);
  signIn();
  holdPages();
  courses().getCoursesWithStartIndex_count_force_coursesBlock(
      0, 10, true, [held = std::make_shared<test::HostObject>(counts)](bool, std::int64_t) {});
  settle();
  EXPECT_EQ(counts.alive, 1);
  QXUserInfoMgr::getInstance().setUserInfo(makeUser("100002", "5002"));
  courses().reload();
  settle();
  EXPECT_EQ(counts.alive, 0);
  EXPECT_EQ(counts.endedOnMain, 0);
}

TEST_F(HostObjects, OfAnUpdateEndWithItsHandler) {
  signIn();
  instead = [](const json::object&) { return json::object{{"ret", 0}, {"data", {{"title", "new"}}}}; };
  int handled = 0;
  courses().updateCourse_withHandler(
      makeCourse(courseItem(7, 1, 1)),
      [held = object(), &handled](const QXCourseManager::Course&) { ++handled; });
  settle();
  EXPECT_EQ(handled, 1);
  expectAllLetGoOnMain();
}

TEST_F(HostObjects, OfARefreshEndWithItsCallback) {
  signIn();
  instead = [](const json::object&) { return json::object{{"ret", 0}, {"data", json::object()}}; };
  int refreshed = 0;
  makeCourse(courseItem(7, 1, 1))
      ->refreshCourseInfoWithCompleteBlock(
          [held = object(), &refreshed](bool, const OptionalString&, const json::object*) { ++refreshed; });
  settle();
  EXPECT_EQ(refreshed, 1);
  expectAllLetGoOnMain();
}

TEST_F(HostObjects, OfATimerEndWhenItIsSpentOrInvalidatedOnWhateverThread) {
  int fired = 0;
  const auto spent = Timer::schedule(Seconds(1), false, [held = object(), &fired] { ++fired; });
  runFor(1);
  EXPECT_EQ(fired, 1);
  EXPECT_EQ(counts.alive, 0);
  const auto invalidated = Timer::schedule(Seconds(1), true, [held = object()] {});
  onAnotherThread([invalidated] { invalidated->invalidate(); });
  EXPECT_FALSE(invalidated->isValid());
  expectAllLetGoOnMain();
}

TEST_F(HostObjects, OfAnObserverThatRemovesItselfEndWithItsCall) {
  auto& center = NotificationCenter::defaultCenter();
  ObserverToken first;
  first =
      center.observe(std::string("name"), [held = object(), &first](const Notification&) { first.reset(); });
  int aliveForTheNext = -1;
  const auto second =
      center.observe(std::string("name"), [&](const Notification&) { aliveForTheNext = counts.alive; });
  center.post("name");
  EXPECT_EQ(aliveForTheNext, 0);
  expectAllLetGoOnMain();
}

TEST_F(HostObjects, OfAReachabilityCallbackEndOnMainWhenItIsReplacedOnAnotherThread) {
  platform.reachability().startMonitoring([held = object()](ReachabilityStatus) {});
  settle();
  onAnotherThread([this] { platform.reachability().startMonitoring([](ReachabilityStatus) {}); });
  expectAllLetGoOnMain();
}

TEST_F(HostObjects, OfAWakerEndWhenItIsReplacedAlsoByItself) {
  auto& main = platform.mainQueue();
  main.setWaker([held = object(), &main] { main.setWaker(nullptr); });
  main.post([] {});
  EXPECT_EQ(counts.alive, 0);
  settle();
}

TEST_F(HostObjects, OfASinkEndWhenItIsReplacedAlsoByItself) {
  Console::setSink([held = std::make_shared<test::HostObject>(counts)](std::string_view) {
    Console::setSink([](std::string_view) {});
  });
  Console::write("line");
  EXPECT_EQ(counts.alive, 0);
}

}  // namespace
}  // namespace orv::host_objects_test
