// Messages in fragments, and closing.

#include "ConformanceCase.h"
#include <tests/support/RawPeer.h>

#include <string>
#include <vector>

namespace orv::test {

namespace {

const std::string kFirst = "fragment1";
const std::string kSecond = "fragment2";
const std::string kText = "text " + kFirst + kSecond;

}  // namespace

ConformanceCases fragmentCases() {
  const Pieces inTwo = {textFrame(kFirst, false), moreFrame(kSecond)};
  const Pieces aroundPing = {textFrame(kFirst, false), pingFrame("ping payload"), moreFrame(kSecond)};
  const Pieces lastOfNothing = {moreFrame("nothing to continue"), textFrame("Hello, world!")};
  const Pieces firstOfNothing = {moreFrame("nothing to continue", false), textFrame("Hello, world!")};
  const Pieces behindMessage = {textFrame(kFirst, false), moreFrame(kSecond),
                                moreFrame("nothing to continue", false), textFrame("Hello, world!")};
  const auto nothingTwice = [&](bool isLast) {
    const std::string frame = moreFrame("nothing to continue", isLast);
    return Pieces{frame, inTwo[0], inTwo[1], frame, inTwo[0], inTwo[1]};
  };
  const Pieces inFive = {textFrame("fragment1", false), moreFrame("fragment2", false), pingFrame("pongme 1!"),
                         moreFrame("fragment3", false), moreFrame("fragment4", false), pingFrame("pongme 2!"),
                         moreFrame("fragment5")};
  const std::vector<std::string> five = {"text fragment1fragment2fragment3fragment4fragment5"};
  const std::vector<std::string> pongs = {"pongme 1!", "pongme 2!"};
  return {
      fault("5.1", {frameBytes(opcode::kPing, kFirst, 0), moreFrame(kSecond)}),
      fault("5.2", {frameBytes(opcode::kPong, kFirst, 0), moreFrame(kSecond)}),
      good("5.3", together(inTwo), {kText}),
      good("5.4", inTwo, {kText}),
      good("5.5", inChops(inTwo), {kText}),
      good("5.6", together(aroundPing), {kText}, {"ping payload"}),
      good("5.7", aroundPing, {kText}, {"ping payload"}),
      good("5.8", inChops(aroundPing), {kText}, {"ping payload"}),
      fault("5.9", together(lastOfNothing)),
      fault("5.10", lastOfNothing),
      fault("5.11", inChops(lastOfNothing)),
      fault("5.12", together(firstOfNothing)),
      fault("5.13", firstOfNothing),
      fault("5.14", inChops(firstOfNothing)),
      fault("5.15", together(behindMessage), {kText}),
      fault("5.16", nothingTwice(false)),
      fault("5.17", nothingTwice(true)),
      fault("5.18", {textFrame(kFirst, false), textFrame(kSecond)}),
      good("5.19", inFive, five, pongs),
      good("5.20", together(inFive), five, pongs),
  };
}

namespace {

ConformanceCase closedWith(const std::string& number, int code, const std::string& reason = "") {
  return closing(number, {closeFrame(code, reason)}, 1000,
                 "closed " + std::to_string(code) + " " + (reason.empty() ? "(absent)" : reason) + " clean");
}
/// The host is told a code that a peer must not send.
ConformanceCase closedWrongly(const std::string& number, int code) {
  return closing(number, {closeFrame(code)}, 1002, "closed " + std::to_string(code) + " (absent) clean");
}

}  // namespace

ConformanceCases closeCases() {
  const std::string normal = closeFrame(1000);
  const std::string end = "closed 1000 (absent) clean";
  const std::string longText(256 << 10, 'B');
  ConformanceCases cases = {
      closing("7.1.1", {textFrame("Hello World!"), normal}, 1000, end, {"text Hello World!"}),
      closing("7.1.2", together({normal, normal}), 1000, end),
      closing("7.1.3", together({normal, pingFrame("after")}), 1000, end),
      closing("7.1.4", together({normal, textFrame("after")}), 1000, end),
      closing("7.1.5", together({textFrame("fragment1", false), normal, moreFrame("fragment2")}), 1000, end),
      closing("7.1.6", {textFrame(longText), textFrame("Hello World!"), normal, pingFrame("after")}, 1000,
              end, {"text " + longText, "text Hello World!"}),
      closing("7.3.1", {frameBytes(opcode::kClose, "")}, 1000, "closed 1005 (absent) clean"),
      fault("7.3.2", {frameBytes(opcode::kClose, "a")}),
      closedWith("7.3.3", 1000),
      closedWith("7.3.4", 1000, "Hello World!"),
      closedWith("7.3.5", 1000, std::string(123, '*')),
      fault("7.3.6", {frameBytes(opcode::kClose, closePayload(1000, std::string(124, '*')))}),
      closing("7.5.1", {closeFrame(1000, "\xce\xba\xe1\xbd\xb9\xcf\x83\xce\xbc\xce\xb5\xed\xa0\x80 edited")},
              1002, end),
      // What a client makes of codes that nobody has given a meaning is its own choice: they are wrong here.
      closedWrongly("7.13.1", 5000),
      closedWrongly("7.13.2", 65535),
  };
  int number = 0;
  for (const int code : {1000, 1001, 1002, 1003, 1007, 1008, 1009, 1010, 1011, 3000, 3999, 4000, 4999}) {
    cases.push_back(closedWith("7.7." + std::to_string(++number), code));
  }
  number = 0;
  for (const int code : {0, 999, 1004, 1005, 1006, 1016, 1100, 2000, 2999}) {
    cases.push_back(closedWrongly("7.9." + std::to_string(++number), code));
  }
  return cases;
}

}  // namespace orv::test
