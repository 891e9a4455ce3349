// Texts that are UTF-8 and texts that are not: as fragments cut them, and by the kinds of sequences.

#include "ConformanceCase.h"
#include <tests/support/RawPeer.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::test {

namespace {

std::string fromHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
  }
  return bytes;
}

const std::string kWord = fromHex("cebae1bdb9cf83cebcceb5");
const std::string kSentence = fromHex("48656c6c6f2dc2b540c39fc3b6c3a4c3bcc3a0c3a12d5554462d382121");
const std::string kWithSurrogate = kWord + fromHex("eda080656469746564");

ConformanceCase bad(std::string number, Pieces pieces) {
  return fault(std::move(number), std::move(pieces), {}, 1007);
}

}  // namespace

ConformanceCases utf8FragmentCases() {
  const std::string beyond = fromHex("f4908080");
  const std::string frameOfThree = textFrame(kWord + beyond + "edited");
  const std::size_t head = frameOfThree.size() - kWord.size() - beyond.size() - 6;
  // What follows the byte that decides is not sent: the client has to close without it.
  const auto upTo = [&](std::size_t count) { return frameOfThree.substr(0, head + kWord.size() + count); };
  return {
      good("6.1.1", {textFrame("")}, {"text "}),
      good("6.1.2", {textFrame("", false), moreFrame("", false), moreFrame("")}, {"text "}),
      good("6.1.3", {textFrame("", false), moreFrame("middle frame payload", false), moreFrame("")},
           {"text middle frame payload"}),
      good("6.2.1", {textFrame(kSentence)}, {"text " + kSentence}),
      good("6.2.2", {textFrame(kSentence.substr(0, 12), false), moreFrame(kSentence.substr(12))},
           {"text " + kSentence}),
      good("6.2.3", inFragments(opcode::kText, kSentence, 1), {"text " + kSentence}),
      good("6.2.4", inFragments(opcode::kText, kWord, 1), {"text " + kWord}),
      bad("6.3.1", {textFrame(kWithSurrogate)}),
      bad("6.3.2", inFragments(opcode::kText, kWithSurrogate, 1)),
      bad("6.4.1", {textFrame(kWord, false), moreFrame(beyond, false)}),
      bad("6.4.2", {textFrame(kWord + beyond.substr(0, 1), false), moreFrame(beyond.substr(1, 1), false)}),
      bad("6.4.3", {upTo(0), upTo(4).substr(upTo(0).size())}),
      bad("6.4.4", {upTo(1), upTo(2).substr(upTo(1).size())}),
  };
}

namespace {

/// Each of `count` first bytes from `first` on, with a blank behind it.
std::string lonelyStarts(int first, int count) {
  std::string bytes;
  for (int i = 0; i < count; ++i) {
    bytes += static_cast<char>(first + i);
    bytes += ' ';
  }
  return bytes;
}

std::string allContinuations() {
  std::string bytes;
  for (int byte = 0x80; byte < 0xc0; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

/// The two code points at the end of each plane from the first on, which are no characters.
std::vector<std::string> endsOfPlanes() {
  std::vector<std::string> texts;
  for (int plane = 1; plane <= 16; ++plane) {
    for (const char last : {'\xbe', '\xbf'}) {
      std::string text = fromHex("f08fbfbf");
      text[0] = static_cast<char>(0xf0 + (plane >> 2));
      text[1] = static_cast<char>(0x8f | (plane & 3) << 4);
      text[3] = last;
      texts.push_back(text);
    }
  }
  return texts;
}

/// Adds cases of one group, good or bad.
class Groups {
 public:
  void add(const std::string& group, const std::vector<std::string>& texts, bool isGood) {
    for (const std::string& text : texts) addOne(group, text, isGood);
  }
  void addHex(const std::string& group, const std::vector<std::string_view>& hex, bool isGood) {
    for (const std::string_view one : hex) addOne(group, fromHex(one), isGood);
  }
  ConformanceCases take() { return std::move(cases_); }

 private:
  void addOne(const std::string& group, const std::string& text, bool isGood) {
    if (group != group_) number_ = 0;
    group_ = group;
    const std::string name = group + "." + std::to_string(++number_);
    cases_.push_back(isGood ? good(name, {textFrame(text)}, {"text " + text}) : bad(name, {textFrame(text)}));
  }

  ConformanceCases cases_;
  std::string group_;
  int number_ = 0;
};

const std::vector<std::string_view> kCutShort = {"c0", "e080", "f08080", "f8808080", "fc80808080",
                                                 "df", "efbf", "f7bfbf", "fbbfbfbf", "fdbfbfbfbf"};

void addSequences(Groups& groups) {
  groups.add("6.5",
             {"hello$world", fromHex("68656c6c6fc2a2776f726c64"), fromHex("68656c6c6fe282ac776f726c64"),
              fromHex("68656c6c6ff0a4ada2776f726c64"), kWord},
             true);
  for (std::size_t size = 1; size <= kWord.size(); ++size) {
    const bool isWhole = size == 2 || size == 5 || size == 7 || size == 9 || size == 11;
    groups.add("6.6", {kWord.substr(0, size)}, isWhole);
  }
  groups.add("6.7", {std::string(1, '\0'), fromHex("c280"), fromHex("e0a080"), fromHex("f0908080")}, true);
  groups.addHex("6.8", {"f888808080", "fc8480808080"}, false);
  groups.addHex("6.9", {"7f", "dfbf", "efbfbf", "f48fbfbf"}, true);
  groups.addHex("6.10", {"f7bfbfbf", "fbbfbfbfbf", "fdbfbfbfbfbf"}, false);
  groups.addHex("6.11", {"ed9fbf", "ee8080", "efbfbd", "f48fbfbf"}, true);
  groups.addHex("6.11", {"f4908080"}, false);
}

void addMalformed(Groups& groups) {
  groups.addHex("6.12", {"80", "bf", "80bf", "80bf80", "80bf80bf", "80bf80bf80", "80bf80bf80bf"}, false);
  groups.add("6.12", {allContinuations()}, false);
  groups.add("6.13",
             {lonelyStarts(0xc0, 32), lonelyStarts(0xe0, 16), lonelyStarts(0xf0, 8), lonelyStarts(0xf8, 4),
              lonelyStarts(0xfc, 2)},
             false);
  groups.addHex("6.14", kCutShort, false);
  std::string allCutShort;
  for (const std::string_view hex : kCutShort) allCutShort += fromHex(hex);
  groups.add("6.15", {allCutShort}, false);
  groups.addHex("6.16", {"fe", "ff", "fefeffff"}, false);
  groups.addHex("6.17", {"c0af", "e080af", "f08080af", "f8808080af", "fc80808080af"}, false);
  groups.addHex("6.18", {"c1bf", "e09fbf", "f08fbfbf", "f887bfbfbf", "fc83bfbfbfbf"}, false);
  groups.addHex("6.19", {"c080", "e08080", "f0808080", "f880808080", "fc8080808080"}, false);
}

void addCodePoints(Groups& groups) {
  groups.addHex("6.20", {"eda080", "edadbf", "edae80", "edafbf", "edb080", "edbe80", "edbfbf"}, false);
  groups.addHex("6.21",
                {"eda080edb080", "eda080edbfbf", "edadbfedb080", "edadbfedbfbf", "edae80edb080",
                 "edae80edbfbf", "edafbfedb080", "edafbfedbfbf"},
                false);
  groups.addHex("6.22", {"efbfbe", "efbfbf"}, true);
  groups.add("6.22", endsOfPlanes(), true);
  groups.addHex("6.23", {"efbfb9", "efbfba", "efbfbb", "efbfbc", "efbfbd", "efbfbe", "efbfbf"}, true);
}

}  // namespace

ConformanceCases utf8SequenceCases() {
  Groups groups;
  addSequences(groups);
  addMalformed(groups);
  addCodePoints(groups);
  return groups.take();
}

}  // namespace orv::test
