// Whatever a server answers to the opening handshake, and however it comes in pieces: it passes, is refused, or goes on
// being waited for, the same in one piece or in many; and none that passes is an agreement without knowing the key.
//
// The first byte of an input is the length of the pieces.

#include <orvnetwork/platform/native/websocket/HandshakeGate.h>
#include <orvnetwork/platform/native/websocket/Upgrade.h>

#include <tests/fuzz/Require.h>

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace {

using namespace orv;
using orv::test::require;
using State = HandshakeGate::State;

State inPieces(HandshakeGate& gate, std::string_view answer, std::size_t piece) {
  State state = State::Waiting;
  for (std::size_t size = 0; size < answer.size() && state == State::Waiting;) {
    size = std::min(answer.size(), size + piece);
    state = gate.look(answer.substr(0, size));
  }
  return state;
}

void checkPassed(const HandshakeGate& gate, std::string_view answer) {
  require(gate.status() == 101, "only an agreement passes");
  require(gate.headerSize() <= std::min(answer.size(), HandshakeGate::kLongestHeader),
          "the header is within its bound");
  const std::string_view header = answer.substr(0, gate.headerSize());
  require(header.ends_with("\r\n\r\n"), "a header ends with an empty line");
  require(flawOfUpgrade(header, "a key that it cannot know").has_value(), "an answer belongs to a key");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view answer(reinterpret_cast<const char*>(data) + 1, size - 1);
  HandshakeGate whole, pieces;
  const State state = answer.empty() ? State::Waiting : whole.look(answer);
  require(inPieces(pieces, answer, std::max<std::size_t>(1, data[0])) == state, "pieces make no difference");
  require(pieces.status() == whole.status() && pieces.headerSize() == whole.headerSize(),
          "nor for what is told");
  if (state == State::Passed) checkPassed(whole, answer);
  if (state == State::Waiting) {
    require(answer.size() <= HandshakeGate::kLongestHeader, "nothing is waited for without end");
  }
  return 0;
}
