#include <orvnetwork/platform/TextBatch.h>
#include <orvnetwork/platform/WebSocket.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
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
  void sendTexts(std::vector<Text> texts) override {
    steps.emplace_back();
    for (const Text& text : texts) steps.back().push_back(*text);
  }
  std::size_t sendFirst(std::span<const std::string_view> texts) override {
    const auto first = texts.first(std::min(takes, texts.size()));
    steps.emplace_back(first.begin(), first.end());
    return first.size();
  }

  std::size_t takes = 0;
};

std::vector<Text> texts(int count) {
  std::vector<Text> all;
  for (int i = 0; i < count; ++i) all.push_back(std::make_shared<const std::string>(std::to_string(i)));
  return all;
}

using Steps = std::vector<std::vector<std::string>>;

TEST(TextBatch, IsSentInOnePieceWhereTheSocketTakesOne) {
  BatchSocket socket;
  sendTexts(socket, texts(3));
  EXPECT_EQ(socket.steps, (Steps{{"0", "1", "2"}}));
}

TEST(TextBatch, IsSentOneByOneWhereItDoesNot) {
  RecordingSocket socket;
  sendTexts(socket, texts(3));
  EXPECT_EQ(socket.steps, (Steps{{"0"}, {"1"}, {"2"}}));
}

TEST(TextBatch, OfOneTextIsNoBatchAndOfNoneIsNothing) {
  BatchSocket socket;
  sendTexts(socket, texts(1));
  sendTexts(socket, {});
  EXPECT_EQ(socket.steps, (Steps{{"0"}}));
}

TEST(TextBatch, TheFirstOnesAreNotCopiedWhereTheSocketTakesThem) {
  const std::vector<std::string_view> three{"0", "1", "2"};
  for (const std::size_t takes : {0u, 1u, 3u}) {
    BatchSocket socket;
    socket.takes = takes;
    sendCopies(socket, three);
    Steps expected{{three.begin(), three.begin() + static_cast<std::ptrdiff_t>(takes)}};
    if (takes < three.size()) {
      expected.emplace_back(three.begin() + static_cast<std::ptrdiff_t>(takes), three.end());
    }
    EXPECT_EQ(socket.steps, expected);
  }
  RecordingSocket other;
  sendCopies(other, three);
  sendCopies(other, {});
  EXPECT_EQ(other.steps, (Steps{{"0"}, {"1"}, {"2"}}));
}

}  // namespace
}  // namespace orv::text_batch_test
