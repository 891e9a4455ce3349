#include <orvnetwork/platform/detail/Sha1.h>

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv::sha1_test {
namespace {

std::string hexOf(const std::array<std::uint8_t, 20>& digest) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string hex;
  for (const std::uint8_t byte : digest) {
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 15];
  }
  return hex;
}

TEST(Sha1, GivesTheDigestsOfTheAlgorithmsDefinition) {
  EXPECT_EQ(hexOf(sha1("")), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(hexOf(sha1("abc")), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(hexOf(sha1("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
            "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
  EXPECT_EQ(hexOf(sha1(std::string(1'000'000, 'a'))), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

/// Where the padding begins in a block decides whether another block is needed for it.
TEST(Sha1, IsWhatOpenSslGivesForEveryLengthUpToThreeBlocks) {
  std::string bytes;
  for (int length = 0; length <= 3 * 64 + 1; ++length) {
    std::array<std::uint8_t, 20> expected{};
    ASSERT_EQ(EVP_Digest(bytes.data(), bytes.size(), expected.data(), nullptr, EVP_sha1(), nullptr), 1);
    EXPECT_EQ(hexOf(sha1(bytes)), hexOf(expected)) << length << " bytes";
    bytes += static_cast<char>(7 * length + 131);
  }
}

}  // namespace
}  // namespace orv::sha1_test
