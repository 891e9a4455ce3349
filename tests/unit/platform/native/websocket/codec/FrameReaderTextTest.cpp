// Which texts are UTF-8, cut everywhere: in pieces of the stream and in fragments of the message. What is expected comes
// from the grammar of RFC 3629, section 4, written down once more.

#include "ReadFrames.h"
#include <tests/support/RawPeer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::frame_reader_text_test {
namespace {

using namespace test;

struct Range {
  int first;
  int last;
};

/// The forms of a character: what each byte may be.
const std::vector<std::vector<Range>> kForms = {
    {{0x00, 0x7f}},
    {{0xc2, 0xdf}, {0x80, 0xbf}},
    {{0xe0, 0xe0}, {0xa0, 0xbf}, {0x80, 0xbf}},
    {{0xe1, 0xec}, {0x80, 0xbf}, {0x80, 0xbf}},
    {{0xed, 0xed}, {0x80, 0x9f}, {0x80, 0xbf}},
    {{0xee, 0xef}, {0x80, 0xbf}, {0x80, 0xbf}},
    {{0xf0, 0xf0}, {0x90, 0xbf}, {0x80, 0xbf}, {0x80, 0xbf}},
    {{0xf1, 0xf3}, {0x80, 0xbf}, {0x80, 0xbf}, {0x80, 0xbf}},
    {{0xf4, 0xf4}, {0x80, 0x8f}, {0x80, 0xbf}, {0x80, 0xbf}},
};

struct Verdict {
  bool isGood = false;
  std::optional<std::size_t> decided;  // the byte with which it cannot be good any more
};

Verdict verdictOn(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    const auto byteAt = [text](std::size_t i) {
      return static_cast<int>(static_cast<unsigned char>(text[i]));
    };
    const auto form = std::ranges::find_if(
        kForms, [&](const auto& f) { return byteAt(at) >= f[0].first && byteAt(at) <= f[0].last; });
    if (form == kForms.end()) return {false, at};
    for (std::size_t i = 1; i < form->size(); ++i) {
      if (at + i == text.size()) return {false, std::nullopt};
      if (byteAt(at + i) < (*form)[i].first || byteAt(at + i) > (*form)[i].last) return {false, at + i};
    }
    at += form->size();
  }
  return {true, std::nullopt};
}

std::string fromHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += hex[i] == ' ' ? 1 : 2) {
    if (hex[i] != ' ') bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
  }
  return bytes;
}

std::string shown(std::string_view text) {
  std::string hex;
  for (const char c : text) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    hex += kDigits[static_cast<unsigned char>(c) >> 4];
    hex += kDigits[static_cast<unsigned char>(c) & 15];
  }
  return hex;
}

void expectReading(const FrameReading& reading, std::string_view text, bool isGood, const std::string& how) {
  const std::string expected = isGood ? "text " + std::string(text) : "fault 1007, told 0";
  EXPECT_EQ(reading.events(), std::vector<std::string>{expected}) << shown(text) << " " << how;
}

/// With the byte that decides, and no later: each byte comes by itself.
void expectQuickRefusal(std::string_view text, const Verdict& verdict) {
  FrameReading reading(1000);
  const std::string frame = frameBytes(opcode::kText, text);
  std::size_t fed = 0;
  for (const char byte : frame) {
    if (!reading.events().empty()) break;
    reading.feed(std::string(1, byte));
    ++fed;
  }
  expectReading(reading, text, verdict.isGood, "byte by byte");
  const std::size_t head = frame.size() - text.size();
  EXPECT_EQ(fed, verdict.decided ? head + *verdict.decided + 1 : frame.size()) << shown(text);
}

void expectText(std::string_view text, bool isGood) {
  const Verdict verdict = verdictOn(text);
  ASSERT_EQ(verdict.isGood, isGood) << shown(text);
  expectQuickRefusal(text, verdict);
  FrameReading whole(1000);
  whole.feed(frameBytes(opcode::kText, text));
  expectReading(whole, text, isGood, "whole");
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    const std::string first = frameBytes(opcode::kText, text.substr(0, cut), 0);
    const std::string second = frameBytes(opcode::kContinuation, text.substr(cut));
    FrameReading together(1000), apart(1000), bytes(1000);
    together.feed(first + second);
    expectReading(together, text, isGood, "in fragments cut at " + std::to_string(cut));
    apart.feed(first);
    const bool isDecided = verdict.decided && *verdict.decided < cut;
    EXPECT_EQ(apart.events().empty(), !isDecided) << shown(text) << " cut at " << cut;
    apart.feed(second);
    expectReading(apart, text, isGood, "in fragments that come apart, cut at " + std::to_string(cut));
    bytes.feedInPieces(first + second, 1);
    expectReading(bytes, text, isGood, "in fragments by bytes, cut at " + std::to_string(cut));
  }
}

TEST(FrameReaderText, TakesWhatIsUtf8) {
  for (const char* hex : {"",
                          "48656c6c6f",
                          "c2b5 40 c39f c3b6 c3a4 c3bc c3a0 c3a1",
                          "ceba e1bdb9 cf83 cebc ceb5",  // words
                          "00",
                          "7f",
                          "c280",
                          "dfbf",
                          "e0a080",
                          "efbfbf",
                          "f0908080",
                          "f48fbfbf",  // first and last of each length
                          "e18080",
                          "ecbfbf",
                          "ee8080",
                          "ed9fbf",
                          "efbfbd",
                          "f3bfbfbf",  // beside the gaps
                          "e4bba3 e695b0",
                          "f09f988a",
                          "eebfbf",
                          "c2a0 e280a8 efbbbf 41"}) {
    expectText(fromHex(hex), true);
  }
}

TEST(FrameReaderText, TakesWhatIsNoCharacterOfUnicode) {
  for (int plane = 0; plane <= 16; ++plane) {
    for (const int low : {0xfffe, 0xffff}) {
      const int code = plane << 16 | low;
      std::string text;
      if (plane == 0) {
        text = {static_cast<char>(0xe0 | code >> 12)};
      } else {
        text = {static_cast<char>(0xf0 | code >> 18), static_cast<char>(0x80 | (code >> 12 & 0x3f))};
      }
      text += static_cast<char>(0x80 | (code >> 6 & 0x3f));
      text += static_cast<char>(0x80 | (code & 0x3f));
      expectText(text, true);
    }
  }
}

TEST(FrameReaderText, RefusesWhatIsNot) {
  for (const char* hex : {"ceba e1bdb9 cf83 cebc ceb5 eda080 656469746564",
                          "ceba e1bdb9 cf83 cebc ceb5 f4908080 656469746564",
                          "f8888080 80",
                          "fc8480808080",
                          "f7bfbfbf",
                          "fbbfbfbfbf",
                          "fdbfbfbfbfbf",
                          "f4908080",  // too long, too high
                          "80",
                          "bf",
                          "80bf",
                          "80bf80",
                          "80bf80bf",
                          "80bf80bf80",
                          "80bf80bf80bf",
                          "41bf",  // nothing to continue
                          "c020 c120 c220",
                          "df20",
                          "e020 e120",
                          "ef20",
                          "f020 f120",
                          "f720",
                          "f820",
                          "fb20",
                          "fc20",
                          "fd20",
                          "c0",
                          "e080",
                          "f08080",
                          "f8808080",
                          "fc80808080",
                          "df",
                          "efbf",
                          "f7bfbf",
                          "fbbfbfbf",
                          "fdbfbfbfbf",
                          "c0e080f08080f8808080fc80808080dfefbff7bfbffbbfbfbffdbfbfbfbf",
                          "fe",
                          "ff",
                          "fefeffff",
                          "c0af",
                          "e080af",
                          "f08080af",
                          "f8808080af",
                          "fc80808080af",  // overlong
                          "c1bf",
                          "e09fbf",
                          "f08fbfbf",
                          "f887bfbfbf",
                          "fc83bfbfbfbf",
                          "c080",
                          "e08080",
                          "f0808080",
                          "f880808080",
                          "fc8080808080",
                          "eda080",
                          "edadbf",
                          "edae80",
                          "edafbf",
                          "edb080",
                          "edbe80",
                          "edbfbf",  // surrogates
                          "eda080edb080",
                          "eda080edbfbf",
                          "edadbfedb080",
                          "edadbfedbfbf",
                          "edae80edb080",
                          "edae80edbfbf",
                          "edafbfedb080",
                          "edafbfedbfbf",
                          "ceba e1",
                          "ceba e1bd",
                          "41 f09f98",
                          "f09f9841",
                          "f5",
                          "c2",
                          "c241"}) {
    expectText(fromHex(hex), false);
  }
}

TEST(FrameReaderText, EachPrefixOfAWordIsGoodWhereACharacterEnds) {
  const std::string word = fromHex("ceba e1bdb9 cf83 cebc ceb5 f09f988a");
  for (std::size_t size = 0; size <= word.size(); ++size) {
    const bool isGood =
        size == 0 || size == 2 || size == 5 || size == 7 || size == 9 || size == 11 || size == 15;
    expectText(std::string_view(word).substr(0, size), isGood);
  }
}

TEST(FrameReaderText, EmptyFragmentsChangeNothingInsideACharacter) {
  FrameReading reading(1000);
  reading.feed(frameBytes(opcode::kText, "\xf0\x9f", 0) + frameBytes(opcode::kContinuation, "", 0) +
               frameBytes(opcode::kPing, "\xff") + frameBytes(opcode::kContinuation, "\x98\x8a"));
  EXPECT_EQ(reading.events(), (std::vector<std::string>{"ping \xff", "text \xf0\x9f\x98\x8a"}));
  FrameReading bad(1000);
  bad.feed(frameBytes(opcode::kText, "\xf0\x9f", 0) + frameBytes(opcode::kContinuation, ""));
  EXPECT_EQ(bad.events(), (std::vector<std::string>{"fault 1007, told 0"}));
}

TEST(FrameReaderText, EachTextIsCheckedFromItsOwnBeginning) {
  FrameReading reading(1000);
  reading.feedInPieces(frameBytes(opcode::kText, "\xe5\x86\x8d\xe8\xa7\x81") +
                           frameBytes(opcode::kBinary, "\xff") + frameBytes(opcode::kText, "a") +
                           frameBytes(opcode::kText, "\x86"),
                       4);
  EXPECT_EQ(reading.events(), (std::vector<std::string>{"text \xe5\x86\x8d\xe8\xa7\x81", "binary \xff",
                                                        "text a", "fault 1007, told 0"}));
}

TEST(FrameReaderText, ABadByteIsFoundWhereverItStandsInALongText) {
  for (const std::size_t place : {0, 1, 31, 63, 64, 65, 127, 4000, 8190, 8191}) {
    std::string text(8192, 'x');
    text[place] = '\xc0';
    for (const std::size_t piece : {std::size_t{100'000}, std::size_t{1000}, std::size_t{61}}) {
      FrameReading reading(100'000);
      reading.feedInPieces(frameBytes(opcode::kText, text), piece);
      EXPECT_EQ(reading.events(), (std::vector<std::string>{"fault 1007, told 0"})) << place << " " << piece;
    }
  }
}

}  // namespace
}  // namespace orv::frame_reader_text_test
