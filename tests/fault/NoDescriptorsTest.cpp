#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

// The undefined behaviour sanitizer opens a pipe to look at an object and takes the lack of one for a bad object.
#if !defined(__SANITIZE_ADDRESS__)

namespace orv::no_descriptors_test {
namespace {

TEST(NoDescriptors, ARequestStillTimesOutAndTheLinkComesUpLater) {
  QXFileLog::standard();
  auto& main = MainQueue::instance();
  main.claim();
  auto& link = QXWebSocketMgr::standard();
  link.setApiServerUrl("ws://127.0.0.1:1");

  const int next = ::open("/dev/null", O_RDONLY);
  ::close(next);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  auto none = before;
  none.rlim_cur = static_cast<rlim_t>(next);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);

  int timedOut = 0;
  const auto item = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "a", {}, nullptr, [&](const auto&) { ++timedOut; });
  EXPECT_NO_THROW(link.sendRequestItem(item));
  EXPECT_EQ(timedOut, 1);
  EXPECT_NO_THROW(main.drain());
  EXPECT_TRUE(link.isClosed()) << "the attempt has failed like any other";
  ::setrlimit(RLIMIT_NOFILE, &before);
}

}  // namespace
}  // namespace orv::no_descriptors_test

#endif
