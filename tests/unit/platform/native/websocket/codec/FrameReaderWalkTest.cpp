// Streams of frames that are nearly right, to our reader and to the protocol library's, which must tell the same.
//
// ORV_WALK_SEED=n begins with other streams, ORV_WALK_STEPS=n makes that many.

#include <tests/support/Environment.h>
#include <tests/support/FrameComparison.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <iostream>
#include <random>
#include <string>
#include <string_view>

namespace orv::frame_reader_walk_test {
namespace {

class FrameStreams {
 public:
  explicit FrameStreams(std::uint64_t seed) : random_(seed) {}

  std::string next() {
    std::string bytes;
    isInMessage_ = false;
    for (std::uint32_t left = 1 + below(6); left > 0; --left) bytes += frame();
    if (oneIn(8)) bytes[below(static_cast<std::uint32_t>(bytes.size()))] = anyByte();
    if (oneIn(8)) bytes.resize(1 + below(static_cast<std::uint32_t>(bytes.size())));
    return bytes;
  }
  test::FrameFeeding feeding(std::size_t size) {
    constexpr std::array<std::size_t, 6> kPieces = {1, 2, 3, 7, 100, 1500};
    const std::size_t piece = oneIn(4) ? size : kPieces[below(kPieces.size())];
    return {piece, oneIn(10) ? std::size_t{100} : std::size_t{1} << 20};
  }

 private:
  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }
  bool oneIn(std::uint32_t count) { return below(count) == 0; }
  char anyByte() { return static_cast<char>(below(256)); }

  /// The opcode and bits that may come here; seldom others.
  unsigned firstByte() {
    if (oneIn(40)) return below(256);
    constexpr std::array<unsigned, 5> kControl = {0x89, 0x89, 0x8a, 0x8a, 0x88};
    if (oneIn(4)) return kControl[below(kControl.size())];
    const bool isLast = !oneIn(3);
    const unsigned opcode = isInMessage_ ? 0 : 1 + below(3) / 2;
    isInMessage_ = !isLast;
    return (isLast ? 0x80u : 0u) | opcode;
  }

  std::string frame() {
    const unsigned first = firstByte();
    const unsigned opcode = first & 15;
    const std::string payload = opcode == 8  ? closePayload()
                                : opcode > 8 ? controlPayload()
                                             : textOf(messageSize());
    return std::string(1, static_cast<char>(first)) + lengthOf(payload.size()) + payload;
  }

  std::string lengthOf(std::size_t size) {
    const unsigned mask = oneIn(60) ? 0x80 : 0;
    std::size_t bytes = size < 126 ? 0 : size < 65536 ? 2 : 8;
    if (oneIn(60)) bytes = oneIn(2) ? 8 : 2;
    const std::size_t form = bytes == 0 ? size : bytes == 2 ? 126 : 127;
    std::string length(1, static_cast<char>(form | mask));
    if (oneIn(100)) size += std::size_t{1} << below(64);
    for (std::size_t i = bytes; i > 0; --i) length += static_cast<char>(size >> (8 * (i - 1)) & 0xff);
    return length;
  }

  std::size_t messageSize() {
    constexpr std::array<std::size_t, 6> kEdges = {0, 1, 125, 126, 127, 200};
    if (oneIn(300)) return 65'530 + below(12);
    return oneIn(3) ? kEdges[below(kEdges.size())] : below(40);
  }

  std::string controlPayload() {
    std::string payload(oneIn(50) ? 120 + below(10) : below(10), '\0');
    for (char& byte : payload) byte = anyByte();
    return payload;
  }

  std::string closePayload() {
    constexpr std::array<unsigned, 20> kCodes = {0,    999,  1000, 1001, 1002, 1003, 1004, 1005, 1006, 1007,
                                                 1011, 1012, 1013, 1014, 1015, 2999, 3000, 4999, 5000, 65535};
    if (oneIn(6)) return std::string(below(2), '\x03');
    const unsigned code = kCodes[below(kCodes.size())];
    return std::string{static_cast<char>(code >> 8), static_cast<char>(code)} + textOf(below(20));
  }

  /// Characters of each length, some of them cut or broken.
  std::string textOf(std::size_t size) {
    constexpr std::array<std::string_view, 8> kParts = {"a",
                                                        "hello ",
                                                        "\xc2\xb5",
                                                        "\xe4\xbb\xa3",
                                                        "\xed\x9f\xbf",
                                                        "\xef\xbf\xbf",
                                                        "\xf0\x9f\x98\x8a",
                                                        "\xf4\x8f\xbf\xbf"};
    std::string text;
    while (text.size() < size) text += kParts[below(kParts.size())];
    if (!oneIn(3)) {
      // Cut where a character ends mostly.
      while (text.size() > size || (!text.empty() && (text.back() & 0x80) != 0)) text.pop_back();
    } else {
      text.resize(size);
    }
    if (oneIn(20) && !text.empty()) text[below(static_cast<std::uint32_t>(text.size()))] = anyByte();
    return text;
  }

  std::mt19937_64 random_;
  bool isInMessage_ = false;
};

TEST(FrameReaderWalk, TellsTheSameAsTheProtocolLibrary) {
  const auto seed = test::numberFromEnvironment("ORV_WALK_SEED", 1);
  const auto steps = test::numberFromEnvironment("ORV_WALK_STEPS", 3'000);
  std::cout << "seed " << seed << ", " << steps << " streams" << std::endl;
  FrameStreams streams(seed);
  std::uint64_t messages = 0, faults = 0, closes = 0;
  for (std::uint64_t step = 0; step < steps; ++step) {
    const std::string bytes = streams.next();
    const test::FrameFeeding feeding = streams.feeding(bytes.size());
    const auto complaint = test::compareFrameReaders(bytes, feeding);
    ASSERT_FALSE(complaint) << "seed " << seed << ", stream " << step << ", in pieces of " << feeding.piece
                            << ": " << *complaint << " of " << ::testing::PrintToString(bytes);
    for (const std::string& line : test::readByUs(bytes, feeding).lines) {
      ++(line.starts_with("fault") ? faults : line.starts_with("close") ? closes : messages);
    }
  }
  std::cout << messages << " messages, pings and pongs, " << closes << " closes, " << faults << " faults"
            << std::endl;
  EXPECT_GT(messages, steps / 2);
  EXPECT_GT(faults, steps / 10);
  EXPECT_GT(closes, steps / 100);
}

}  // namespace
}  // namespace orv::frame_reader_walk_test
