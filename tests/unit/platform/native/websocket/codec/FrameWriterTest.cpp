#include <orvnetwork/platform/native/websocket/codec/FrameWriter.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace orv::frame_writer_test {
namespace {

using std::string_literals::operator""s;

std::string frame(Opcode opcode, std::string_view payload, std::uint32_t key = 0) {
  ByteBuffer bytes;
  appendFrame(bytes, opcode, payload, key);
  return std::string(bytes.view());
}

std::string maskedByByte(std::string_view text, std::uint32_t key) {
  std::string masked(text);
  for (std::size_t i = 0; i < masked.size(); ++i) {
    masked[i] = static_cast<char>(masked[i] ^ static_cast<char>(key >> (8 * (i % 4)) & 0xff));
  }
  return masked;
}

TEST(FrameWriter, WritesTheHeadOfEachKindOfFrame) {
  EXPECT_EQ(frame(Opcode::Text, ""), "\x81\x80\0\0\0\0"s);
  EXPECT_EQ(frame(Opcode::Binary, "x"), "\x82\x81\0\0\0\0x"s);
  EXPECT_EQ(frame(Opcode::Close, "\x03\xe8"), "\x88\x82\0\0\0\0\x03\xe8"s);
  EXPECT_EQ(frame(Opcode::Ping, "p"), "\x89\x81\0\0\0\0p"s);
  EXPECT_EQ(frame(Opcode::Pong, "p"), "\x8a\x81\0\0\0\0p"s);
}

TEST(FrameWriter, WritesEachLengthInItsShortestForm) {
  const auto headOf = [](std::size_t size) {
    const std::string whole = frame(Opcode::Text, std::string(size, 'x'));
    return whole.substr(1, whole.size() - size - 1 - 4);
  };
  EXPECT_EQ(headOf(125), "\xfd"s);
  EXPECT_EQ(headOf(126), "\xfe\x00\x7e"s);
  EXPECT_EQ(headOf(65535), "\xfe\xff\xff"s);
  EXPECT_EQ(headOf(65536), "\xff\0\0\0\0\0\x01\0\0"s);
  EXPECT_EQ(headOf(std::size_t{16} << 20), "\xff\0\0\0\0\x01\0\0\0"s);
}

TEST(FrameWriter, MasksByTheKeyWhereverThePayloadEndsAndLies) {
  constexpr std::uint32_t kKey = 0xf4a31702;
  std::string text;
  for (int i = 0; i < 200; ++i) text += static_cast<char>(i * 37);
  for (std::size_t begin = 0; begin < 9; ++begin) {
    for (std::size_t size = 0; size <= 100; ++size) {
      const std::string_view payload = std::string_view(text).substr(begin, size);
      const std::string whole = frame(Opcode::Binary, payload, kKey);
      EXPECT_EQ(whole.substr(2, 4), "\x02\x17\xa3\xf4");
      EXPECT_EQ(whole.substr(6), maskedByByte(payload, kKey)) << begin << " " << size;
    }
  }
}

TEST(FrameWriter, GathersFramesOneBehindTheOther) {
  ByteBuffer bytes;
  appendFrame(bytes, Opcode::Text, "one", 0);
  appendFrame(bytes, Opcode::Ping, "", 0x04030201);
  appendFrame(bytes, Opcode::Text, "two", 0);
  EXPECT_EQ(bytes.view(), "\x81\x83\0\0\0\0one\x89\x80\x01\x02\x03\x04\x81\x83\0\0\0\0two"s);
}

}  // namespace
}  // namespace orv::frame_writer_test
