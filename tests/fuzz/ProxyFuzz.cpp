// Whatever a proxy says, and however it comes in pieces: the way opens, the talk fails, or more is waited for, the same
// in one piece or in many. No more is read than the bound, nothing is sent that was not asked for, and an error is one
// line that holds nothing of what was sent.
//
// The first byte of an input chooses the protocol and whether somebody signs in, the second is the length of the pieces.

#include <orvnetwork/platform/native/proxy/HttpConnect.h>
#include <orvnetwork/platform/native/proxy/ProxyTalk.h>
#include <orvnetwork/platform/native/proxy/Socks5.h>

#include <tests/fuzz/Require.h>
#include <tests/support/TalkInPieces.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace orv;
using namespace orv::test;
using State = ProxyTalk::State;

constexpr const char* kUser = "uSER-1";
constexpr const char* kPassword = "pASSWORD-2";
constexpr std::size_t kLongestSocksTalk = 2 + 2 + 4 + 1 + 255 + 2;

void checkEnd(const TalkEnd& end, bool isHttp, bool signsIn) {
  require(!end.sent.empty() && end.sent.size() <= (isHttp    ? 1U
                                                   : signsIn ? 3U
                                                             : 2U),
          "each message is sent once");
  require((end.state == State::Failed) == !end.error.domain.empty(), "a failure has an error");
  for (const char c : end.error.description) {
    require(c >= ' ' && c < '\x7f', "an error is one line of plain letters");
  }
  for (const char* const secret : {kUser, kPassword, "dVNFUi0xOnBBU1NXT1JELTI="}) {
    require(end.error.description.find(secret) == std::string::npos, "an error tells no secret");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const bool isHttp = (data[0] & 1) != 0, signsIn = (data[0] & 2) != 0;
  const std::size_t piece = std::max<std::size_t>(1, data[1]);
  const std::string_view answers(reinterpret_cast<const char*>(data) + 2, size - 2);
  Proxy proxy{isHttp ? ProxyKind::Http : ProxyKind::Socks5, "proxy", 1, {}, {}};
  if (signsIn) proxy.user = kUser, proxy.password = kPassword;
  const auto make = [&]() -> std::unique_ptr<ProxyTalk> {
    if (isHttp) return std::make_unique<HttpConnect>(proxy, "class.example.org", std::uint16_t{443});
    return std::make_unique<Socks5>(proxy, "class.example.org", std::uint16_t{443});
  };

  std::vector<std::size_t> cuts;
  for (std::size_t cut = piece; cut < answers.size(); cut += piece) cuts.push_back(cut);
  const TalkEnd inPieces = talkInPieces(make, answers, cuts);
  checkEnd(inPieces, isHttp, signsIn);
  TalkEnd whole = talkInPieces(make, answers, {});
  // What stands behind the end of an HTTP answer is seen where it comes with it.
  const bool isSurplus = isHttp && inPieces.state == State::Done && whole.state == State::Failed;
  require(isSurplus || inPieces == whole, "pieces make no difference");
  const std::size_t bound = isHttp ? HttpConnect::kLongestAnswer : kLongestSocksTalk;
  require(inPieces.state != State::Talking || answers.size() < bound, "nothing is waited for without end");
  return 0;
}
