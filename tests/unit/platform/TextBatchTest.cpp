#include <orvnetwork/platform/TextBatch.h>
#include <orvnetwork/platform/WebSocket.h>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orv::text_batch_test {
namespace {

using Text = std::shared_ptr<const std::string>;

class RecordingSocket : public WebSocket {
 public:
  void setDelegate(WebSocketDelegate*) override {}
  void open() override {}
  void close() override {}
  void send(Text text) override { steps.push_back({*text}); }
  void sendPing(std::string) override {}
  WebSocketState readyState() const override { return WebSocketState::Open; }

  std::vector<std::vector<std::string>> steps;
};

class BatchSocket final : public RecordingSocket, public TextBatchSocket {
 public:
  void sendTexts(std::span<const std::string_view> texts) override {
    steps.emplace_back(texts.begin(), texts.end());
  }
};

constexpr std::array<std::string_view, 3> kThree{"0", "1", "2"};

using Steps = std::vector<std::vector<std::string>>;

TEST(TextBatch, IsSentInOnePieceWhereTheSocketTakesOne) {
  BatchSocket socket;
  sendTexts(socket, kThree);
  EXPECT_EQ(socket.steps, (Steps{{"0", "1", "2"}}));
}

TEST(TextBatch, IsSentOneByOneWhereItDoesNot) {
  RecordingSocket socket;
  sendTexts(socket, kThree);
  EXPECT_EQ(socket.steps, (Steps{{"0"}, {"1"}, {"2"}}));
}

TEST(TextBatch, OfOneTextIsThatAndOfNoneIsNothing) {
  BatchSocket socket;
  sendTexts(socket, std::span(kThree).first(1));
  sendTexts(socket, {});
  EXPECT_EQ(socket.steps, (Steps{{"0"}}));
}

}  // namespace
}  // namespace orv::text_batch_test
