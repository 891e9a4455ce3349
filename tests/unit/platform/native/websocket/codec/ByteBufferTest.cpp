#include <orvnetwork/platform/native/websocket/codec/ByteBuffer.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

namespace orv::byte_buffer_test {
namespace {

void add(ByteBuffer& to, std::string_view text) {
  std::memcpy(to.extend(text.size()), text.data(), text.size());
}

TEST(ByteBuffer, KeepsWhatWasWrittenWhileItGrows) {
  ByteBuffer bytes;
  EXPECT_TRUE(bytes.empty());
  std::string expected;
  for (int i = 0; i < 3000; ++i) {
    add(bytes, std::to_string(i));
    expected += std::to_string(i);
  }
  EXPECT_EQ(bytes.view(), expected);
}

TEST(ByteBuffer, KeepsItsMemoryWhenItIsClearedUpToABound) {
  ByteBuffer bytes;
  add(bytes, std::string(10'000, 'x'));
  const std::size_t capacity = bytes.capacity();
  bytes.clear(10'000'000);
  EXPECT_EQ(bytes.size(), 0u);
  EXPECT_EQ(bytes.capacity(), capacity);
  add(bytes, "y");
  bytes.clear(5000);
  EXPECT_EQ(bytes.capacity(), 0u);
  add(bytes, "z");
  EXPECT_EQ(bytes.view(), "z");
}

TEST(ByteBuffer, MovesAndSwaps) {
  ByteBuffer one, two;
  add(one, "one");
  add(two, "two");
  one.swap(two);
  EXPECT_EQ(one.view(), "two");
  ByteBuffer three = std::move(two);
  EXPECT_EQ(three.view(), "one");
  one = std::move(three);
  EXPECT_EQ(one.view(), "one");
}

}  // namespace
}  // namespace orv::byte_buffer_test
