#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/memory/HeldMemory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>

namespace orv::request_allocations_test {
namespace {

TEST(RequestAllocations, AreTheItemAndItsText) {
  auto& platform = testing::SimulatedPlatform::install();
  // An identifier of as many digits as those of these years.
  platform.setWallTime(WallTime(std::chrono::microseconds(1706661902345678)));
  auto& link = QXWebSocketMgr::standard();
  link.setGlobalUUID("uuid-1");
  link.setAppVersion("2.3.1");
  link.setAppBuildVersion("57");
  std::size_t least = static_cast<std::size_t>(-1);
  for (int run = 0; run < 20; ++run) {
    const std::size_t before = test::allocationsMade();
    const auto item = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
        "Dev.Echo", std::nullopt, nullptr, nullptr);
    least = std::min(least, test::allocationsMade() - before);
    ASSERT_TRUE(item->jsonString);
  }
  EXPECT_EQ(least, 2u);
}

}  // namespace
}  // namespace orv::request_allocations_test
