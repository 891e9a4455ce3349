#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

namespace orv::parked_request_watch_test {
namespace {

using ParkedRequestWatch = LinkFixture;

TEST_F(ParkedRequestWatch, HearsOfEachRequestThatIsHeld) {
  std::size_t calls = 0;
  auto watching = link.watchParkedRequests([&] {
    EXPECT_TRUE(platform.mainQueue().isCurrent());
    EXPECT_EQ(link.parkedRequestCount(), ++calls);
  });
  bringUp();
  answer(send("Room.Fine"), {{"ret", 0}});
  answer(send("Room.Refused"), {{"ret", 7}});
  settle();
  EXPECT_EQ(calls, 0u);
  const auto first = send("Room.First"), second = send("Room.Second"), third = send("Room.Third");
  settle();
  answer(first, {{"ret", 1001}});
  answer(second, {{"ret", 10031}});
  settle();
  EXPECT_EQ(calls, 2u);
  watching.reset();
  answer(third, {{"ret", 1000}});
  settle();
  EXPECT_EQ(calls, 2u);
  EXPECT_EQ(link.parkedRequestCount(), 3u);
}

TEST_F(ParkedRequestWatch, HearsNothingOfTheSessionsOwnRequest) {
  const auto watching = link.watchParkedRequests([] { ADD_FAILURE(); });
  bringUp();
  const auto session = send("User.Post.Session");
  settle();
  answer(session, {{"ret", 1001}});
  settle();
  EXPECT_EQ(outcomes, Strings{"User.Post.Session refused"});
}

}  // namespace
}  // namespace orv::parked_request_watch_test
