#include <orvnetwork/transport/QXRequestItem.h>

#include <tests/support/LinkFixture.h>

#include <memory>
#include <string>

namespace orv::kept_reply_test {
namespace {

class KeptReply : public LinkFixture {
 protected:
  /// Sends a request that keeps the frame of its reply.
  void sendKeeping(const std::string& command) {
    sendItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
        command, json::object(),
        [this](const auto&, bool, const json::object& reply) {
          seen = &reply;
          kept = keepReply(reply);
        },
        nullptr));
  }

  const json::object* seen = nullptr;
  std::shared_ptr<const json::object> kept;
};

TEST_F(KeptReply, IsTheFrameItselfInsideItsCallback) {
  bringUp();
  answerAll({{"ret", 0}, {"data", {{"title", "代数"}}}});
  sendKeeping("a");
  settle();
  ASSERT_TRUE(kept);
  EXPECT_EQ(kept.get(), seen);
  EXPECT_EQ(json::serialize(kept->at("v")), R"({"ret":0,"data":{"title":"代数"}})") << "it outlives the call";
  EXPECT_EQ(kept.use_count(), 1) << "nobody else keeps it";
}

TEST_F(KeptReply, IsACopyOfAnyOtherFrame) {
  bringUp();
  answerAll({{"ret", 0}});
  const json::object other{{"C", "b"}};
  EXPECT_EQ(*keepReply(other), other);
  auto item = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "a", json::object(), [&](const auto&, bool, const json::object&) { kept = keepReply(other); }, nullptr);
  sendItem(item);
  settle();
  ASSERT_TRUE(kept);
  EXPECT_NE(kept.get(), &other);
  EXPECT_EQ(*kept, other);
}

}  // namespace
}  // namespace orv::kept_reply_test
