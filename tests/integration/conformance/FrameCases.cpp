// Framing, pings, reserved bits and opcodes, sizes.

#include "ConformanceCase.h"
#include <tests/support/RawPeer.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

namespace {

const std::string kHello = "Hello, world!";

/// A message of each size that changes the head of its frame.
void addFraming(ConformanceCases& cases, const std::string& group, int op) {
  const std::string kind = op == opcode::kText ? "text " : "binary ";
  int number = 0;
  for (const std::size_t size : {0, 125, 126, 127, 128, 65535, 65536, 65536}) {
    const std::string payload(size, op == opcode::kText ? '*' : '\xfe');
    const Pieces frame = {frameBytes(op, payload)};
    ++number;
    cases.push_back(
        good(group + std::to_string(number), number == 8 ? inChops(frame, 997) : frame, {kind + payload}));
    cases.back().isEchoed = op == opcode::kText;
  }
}

}  // namespace

ConformanceCases framingCases() {
  ConformanceCases cases;
  addFraming(cases, "1.1.", opcode::kText);
  addFraming(cases, "1.2.", opcode::kBinary);
  return cases;
}

ConformanceCases pingCases() {
  const std::string bytes("\x00\xff\xfe\xfd\xfc\xfb\x00\xff", 8);
  const std::string longest(125, '\xfe');
  Pieces pings, payloads;
  for (int i = 0; i < 10; ++i) {
    payloads.push_back("payload-" + std::to_string(i));
    pings.push_back(pingFrame(payloads.back()));
  }
  return {
      good("2.1", {pingFrame("")}, {}, {""}),
      good("2.2", {pingFrame(kHello)}, {}, {kHello}),
      good("2.3", {pingFrame(bytes)}, {}, {bytes}),
      good("2.4", {pingFrame(longest)}, {}, {longest}),
      fault("2.5", {pingFrame(longest + "x")}),
      good("2.6", inChops({pingFrame(longest)}), {}, {longest}),
      good("2.7", {frameBytes(opcode::kPong, "")}, {"pong "}),
      good("2.8", {frameBytes(opcode::kPong, "unasked")}, {"pong unasked"}),
      good("2.9", {frameBytes(opcode::kPong, "unasked"), pingFrame(kHello)}, {"pong unasked"}, {kHello}),
      good("2.10", pings, {}, payloads),
      good("2.11", inChops(pings), {}, payloads),
  };
}

ConformanceCases reservedCases() {
  const auto reserved = [](int bits, int op, std::string_view payload) {
    return frameBytes(op, payload, 0x80 | bits << 4);
  };
  const std::string before = textFrame(kHello);
  const std::string behind = pingFrame("");
  const std::vector<std::string> told = {"text " + kHello};
  ConformanceCases cases = {
      fault("3.1", {reserved(1, opcode::kText, kHello)}),
      fault("3.2", together({before, reserved(2, opcode::kText, kHello), behind}), told),
      fault("3.3", {before, reserved(3, opcode::kText, kHello), behind}, told),
      fault("3.4", inChops({before, reserved(4, opcode::kText, kHello), behind}), told),
      fault("3.5", {reserved(5, opcode::kBinary, std::string(8, '\xff'))}),
      fault("3.6", {reserved(6, opcode::kPing, kHello)}),
      fault("3.7", {reserved(7, opcode::kClose, closePayload(1000))}),
  };
  const auto addOpcodes = [&](const std::string& group, int first) {
    cases.push_back(fault(group + "1", {frameBytes(first, "")}));
    cases.push_back(fault(group + "2", {frameBytes(first + 1, "reserved opcode")}));
    cases.push_back(fault(group + "3", together({before, frameBytes(first + 2, ""), behind}), told));
    cases.push_back(fault(group + "4", {before, frameBytes(first + 3, kHello), behind}, told));
    cases.push_back(fault(group + "5", inChops({before, frameBytes(first + 4, kHello), behind}), told));
  };
  addOpcodes("4.1.", 3);
  addOpcodes("4.2.", 11);
  return cases;
}

namespace {

void addMessages(ConformanceCases& cases, const std::string& group, int op) {
  const std::string kind = op == opcode::kText ? "text " : "binary ";
  const std::string& last = op == opcode::kText ? "1" : "2";
  for (int i = 0; i < 6; ++i) {
    constexpr std::array kSizes = {64u << 10, 256u << 10, 1u << 20, 4u << 20, 8u << 20, 16u << 20};
    const std::string payload(kSizes[static_cast<std::size_t>(i)], '*');
    cases.push_back(
        good(group + last + "." + std::to_string(i + 1), {frameBytes(op, payload)}, {kind + payload}));
  }
}

void addFragmented(ConformanceCases& cases, const std::string& group, int op) {
  const std::string kind = op == opcode::kText ? "text " : "binary ";
  const std::string payload(4u << 20, '*');
  int number = 0;
  for (std::size_t size = 64; size <= payload.size(); size *= 4) {
    const Pieces frames = inFragments(op, payload, size);
    cases.push_back(good(group + std::to_string(++number), together(frames), {kind + payload}));
  }
}

void addChopped(ConformanceCases& cases, const std::string& group, int op) {
  const std::string kind = op == opcode::kText ? "text " : "binary ";
  const std::string payload(1u << 20, '*');
  int number = 0;
  for (std::size_t size = 64; size <= 2048; size *= 2) {
    cases.push_back(
        good(group + std::to_string(++number), inChops({frameBytes(op, payload)}, size), {kind + payload}));
  }
}

/// A thousand messages, all sent back.
void addRoundTrips(ConformanceCases& cases, const std::string& group, int op) {
  const std::string kind = op == opcode::kText ? "text " : "binary ";
  int number = 0;
  for (const std::size_t size : {0u, 16u, 64u, 256u, 1024u, 4096u}) {
    const std::string payload(size, '*');
    cases.push_back(good(group + std::to_string(++number), Pieces(1000, frameBytes(op, payload)),
                         std::vector<std::string>(1000, kind + payload)));
    cases.back().isEchoed = true;
  }
}

}  // namespace

ConformanceCases sizeCases() {
  ConformanceCases cases;
  addMessages(cases, "9.", opcode::kText);
  addMessages(cases, "9.", opcode::kBinary);
  addFragmented(cases, "9.3.", opcode::kText);
  addFragmented(cases, "9.4.", opcode::kBinary);
  addChopped(cases, "9.5.", opcode::kText);
  addChopped(cases, "9.6.", opcode::kBinary);
  addRoundTrips(cases, "9.7.", opcode::kText);
  addRoundTrips(cases, "9.8.", opcode::kBinary);
  const std::string payload(65536, '*');
  cases.push_back(good("10.1.1", inFragments(opcode::kText, payload, 1300), {"text " + payload}));
  return cases;
}

}  // namespace orv::test
