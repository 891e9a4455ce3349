#include <orvnetwork/platform/native/websocket/MessageBuffer.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string_view>

namespace orv::message_buffer_test {
namespace {

void append(MessageBuffer& buffer, std::string_view text) {
  while (!text.empty()) {
    const auto room = buffer.prepare(text.size());
    std::memcpy(room.data(), text.data(), room.size());
    buffer.commit(room.size());
    text.remove_prefix(room.size());
  }
}

TEST(MessageBuffer, JoinsPiecesAndStartsAfresh) {
  MessageBuffer buffer(1000);
  append(buffer, "one ");
  append(buffer, "two");
  EXPECT_EQ(buffer.size(), 7u);
  EXPECT_EQ(buffer.take(), "one two");
  append(buffer, "x");
  EXPECT_EQ(buffer.take(), "x");
  EXPECT_EQ(buffer.take(), "");
}

TEST(MessageBuffer, ASmallMessageDoesNotHoldMoreMemoryThanItNeeds) {
  MessageBuffer buffer(1000);
  buffer.prepare(900);
  append(buffer, std::string(100, 'x'));
  EXPECT_LT(buffer.take().capacity(), 200u);
}

TEST(MessageBuffer, GivesALargeMessageAwayWithoutCopyingIt) {
  MessageBuffer buffer(1'000'000);
  append(buffer, std::string(500'000, 'x'));
  const void* const bytes = buffer.data().data();
  const std::string message = buffer.take();
  EXPECT_EQ(message.data(), bytes);
  EXPECT_EQ(message, std::string(500'000, 'x'));
  append(buffer, "next");
  EXPECT_EQ(buffer.take(), "next");
}

TEST(MessageBuffer, APromisedLengthTakesNoMemoryBeforeTheBytesCome) {
  MessageBuffer buffer(std::size_t{1} << 30);
  EXPECT_LE(buffer.prepare(std::size_t{1} << 29).size(), 65536u);
  EXPECT_LE(buffer.capacity(), 200'000u);
}

TEST(MessageBuffer, RefusesMoreThanItsLimit) {
  MessageBuffer buffer(10);
  append(buffer, "12345");
  EXPECT_THROW(buffer.prepare(6), std::length_error);
  EXPECT_EQ(buffer.prepare(5).size(), 5u);
}

}  // namespace
}  // namespace orv::message_buffer_test
