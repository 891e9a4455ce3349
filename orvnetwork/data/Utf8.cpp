#include "orvnetwork/data/Utf8.h"

// What can be wrong with a byte shows in it and the one before: three tables, asked with the halves of the two, each give
// a set of flaws that are possible so far, and a flaw is there when all three agree. Only that a third or fourth byte
// continues its character must be seen from further away. Sixteen bytes are looked at together.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace orv {

#if defined(__x86_64__)

namespace {

// The flaws. What the bytes are is meant: the first and the second of two neighbours.
constexpr std::uint8_t kTooShort = 1;              // a beginning, and no continuation
constexpr std::uint8_t kTooLong = 2;               // a plain character, and a continuation
constexpr std::uint8_t kOverlong3 = 4;             // e0, below a0
constexpr std::uint8_t kTooLarge = 8;              // f4, from 90; f5 and above, from 90
constexpr std::uint8_t kSurrogate = 16;            // ed, from a0
constexpr std::uint8_t kOverlong2 = 32;            // c0 or c1, and a continuation
constexpr std::uint8_t kTooLargeOrOverlong4 = 64;  // f5 and above, or f0; below 90
constexpr std::uint8_t kTwoContinuations = 128;    // wrong unless a third or fourth byte is due
constexpr std::uint8_t kAnyLow = kTooShort | kTooLong | kTwoContinuations;
constexpr std::uint8_t kAnyContinuation = kTooLong | kOverlong2 | kTwoContinuations;

using Table = std::array<std::uint8_t, 16>;

alignas(16) constexpr Table kByFirstHigh = {kTooLong,
                                            kTooLong,
                                            kTooLong,
                                            kTooLong,
                                            kTooLong,
                                            kTooLong,
                                            kTooLong,
                                            kTooLong,
                                            kTwoContinuations,
                                            kTwoContinuations,
                                            kTwoContinuations,
                                            kTwoContinuations,
                                            kTooShort | kOverlong2,
                                            kTooShort,
                                            kTooShort | kOverlong3 | kSurrogate,
                                            kTooShort | kTooLarge | kTooLargeOrOverlong4};

constexpr std::uint8_t kBeyondF4 = kAnyLow | kTooLarge | kTooLargeOrOverlong4;
alignas(16) constexpr Table kByFirstLow = {kAnyLow | kOverlong3 | kOverlong2 | kTooLargeOrOverlong4,
                                           kAnyLow | kOverlong2,
                                           kAnyLow,
                                           kAnyLow,
                                           kAnyLow | kTooLarge,
                                           kBeyondF4,
                                           kBeyondF4,
                                           kBeyondF4,
                                           kBeyondF4,
                                           kBeyondF4,
                                           kBeyondF4,
                                           kBeyondF4,
                                           kBeyondF4,
                                           kBeyondF4 | kSurrogate,
                                           kBeyondF4,
                                           kBeyondF4};

alignas(16) constexpr Table kBySecondHigh = {kTooShort,
                                             kTooShort,
                                             kTooShort,
                                             kTooShort,
                                             kTooShort,
                                             kTooShort,
                                             kTooShort,
                                             kTooShort,
                                             kAnyContinuation | kOverlong3 | kTooLargeOrOverlong4,
                                             kAnyContinuation | kOverlong3 | kTooLarge,
                                             kAnyContinuation | kSurrogate | kTooLarge,
                                             kAnyContinuation | kSurrogate | kTooLarge,
                                             kTooShort,
                                             kTooShort,
                                             kTooShort,
                                             kTooShort};

#define ORV_SIXTEEN __attribute__((target("ssse3")))

ORV_SIXTEEN __m128i load(const void* bytes) {
  return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

/// The flaws of a block behind another one; zero for none.
ORV_SIXTEEN __m128i flawsOf(__m128i block, __m128i before) {
  const __m128i half = _mm_set1_epi8(0x0f);
  const __m128i first = _mm_alignr_epi8(block, before, 15);
  const __m128i byFirstHigh =
      _mm_shuffle_epi8(load(kByFirstHigh.data()), _mm_and_si128(_mm_srli_epi16(first, 4), half));
  const __m128i byFirstLow = _mm_shuffle_epi8(load(kByFirstLow.data()), _mm_and_si128(first, half));
  const __m128i bySecondHigh =
      _mm_shuffle_epi8(load(kBySecondHigh.data()), _mm_and_si128(_mm_srli_epi16(block, 4), half));
  const __m128i flaws = _mm_and_si128(_mm_and_si128(byFirstHigh, byFirstLow), bySecondHigh);
  // The top bit where a character of three or four bytes began two bytes ago, or one of four bytes three bytes ago.
  const __m128i third = _mm_subs_epu8(_mm_alignr_epi8(block, before, 14), _mm_set1_epi8(0xe0 - 0x80));
  const __m128i fourth = _mm_subs_epu8(_mm_alignr_epi8(block, before, 13), _mm_set1_epi8(0xf0 - 0x80));
  const __m128i due = _mm_and_si128(_mm_or_si128(third, fourth), _mm_set1_epi8(static_cast<char>(0x80)));
  return _mm_xor_si128(flaws, due);
}

ORV_SIXTEEN bool isUtf8ByBlocks(std::string_view text) {
  constexpr std::size_t kBlock = sizeof(__m128i);
  const char* at = text.data();
  std::size_t left = text.size();
  __m128i before = _mm_setzero_si128();
  __m128i flaws = _mm_setzero_si128();
  for (; left >= kBlock; at += kBlock, left -= kBlock) {
    const __m128i block = load(at);
    if (_mm_movemask_epi8(_mm_or_si128(block, before)) != 0) {
      flaws = _mm_or_si128(flaws, flawsOf(block, before));
    }
    before = block;
  }
  // The rest with zeros behind it, so that a character which lacks bytes shows.
  std::array<char, kBlock> rest{};
  if (left > 0) std::memcpy(rest.data(), at, left);
  flaws = _mm_or_si128(flaws, flawsOf(load(rest.data()), before));
  return _mm_movemask_epi8(_mm_cmpeq_epi8(flaws, _mm_setzero_si128())) == 0xffff;
}

#undef ORV_SIXTEEN

}  // namespace

#endif

namespace detail {

bool isUtf8ByCharacters(std::string_view text) {
  while (!text.empty()) {
    const std::size_t size = utf8SequenceLength(text);
    if (size == 0) return false;
    text.remove_prefix(size);
  }
  return true;
}

bool isUtf8Rest(std::string_view text) {
#if defined(__x86_64__)
  static const bool hasBlocks = __builtin_cpu_supports("ssse3") != 0;
  if (hasBlocks) return isUtf8ByBlocks(text);
#endif
  return isUtf8ByCharacters(text);
}

}  // namespace detail

}  // namespace orv
