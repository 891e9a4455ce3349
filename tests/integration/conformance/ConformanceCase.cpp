#include "ConformanceCase.h"

#include <tests/support/RawPeer.h>

#include <algorithm>
#include <utility>

namespace orv::test {

Pieces together(const Pieces& frames) {
  std::string bytes;
  for (const std::string& frame : frames) bytes += frame;
  return {bytes};
}

Pieces inChops(const Pieces& frames, std::size_t size) {
  const std::string bytes = together(frames).front();
  Pieces chops;
  for (std::size_t at = 0; at < bytes.size(); at += size) chops.push_back(bytes.substr(at, size));
  return chops;
}

std::string textFrame(std::string_view payload, bool isLast) {
  return frameBytes(opcode::kText, payload, isLast ? 0x80 : 0);
}
std::string moreFrame(std::string_view payload, bool isLast) {
  return frameBytes(opcode::kContinuation, payload, isLast ? 0x80 : 0);
}
std::string binaryFrame(std::string_view payload, bool isLast) {
  return frameBytes(opcode::kBinary, payload, isLast ? 0x80 : 0);
}
std::string pingFrame(std::string_view payload) {
  return frameBytes(opcode::kPing, payload);
}
std::string closeFrame(int code, std::string_view reason) {
  return frameBytes(opcode::kClose, closePayload(code, reason));
}

Pieces inFragments(int op, std::string_view payload, std::size_t size) {
  Pieces frames;
  for (std::size_t at = 0; at < payload.size(); at += size) {
    const bool isLast = at + size >= payload.size();
    frames.push_back(
        frameBytes(at == 0 ? op : opcode::kContinuation, payload.substr(at, size), isLast ? 0x80 : 0));
  }
  return frames;
}

ConformanceCase good(std::string number, Pieces pieces, std::vector<std::string> events,
                     std::vector<std::string> pongs) {
  ConformanceCase made;
  made.number = std::move(number);
  made.pieces = std::move(pieces);
  made.events = std::move(events);
  made.pongs = std::move(pongs);
  return made;
}

ConformanceCase fault(std::string number, Pieces pieces, std::vector<std::string> events, int answer) {
  return closing(std::move(number), std::move(pieces), answer, "closed 0 (absent) clean", std::move(events));
}

ConformanceCase closing(std::string number, Pieces pieces, int answer, std::string end,
                        std::vector<std::string> events) {
  ConformanceCase made = good(std::move(number), std::move(pieces), std::move(events), {});
  made.answer = answer;
  made.end = std::move(end);
  made.isEndIncluded = true;
  return made;
}

}  // namespace orv::test
