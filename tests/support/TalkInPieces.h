#pragma once

#include <orvnetwork/platform/native/proxy/ProxyTalk.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

/// What a talk has come to.
struct TalkEnd {
  ProxyTalk::State state = ProxyTalk::State::Talking;
  Error error;
  /// What was sent, in the order of the sending; each message by itself.
  std::vector<std::string> sent;

  bool operator==(const TalkEnd&) const = default;
};

using MakeTalk = std::function<std::unique_ptr<ProxyTalk>()>;

/// Feeds the proxy's words up to the end of the talk, in pieces that end at the given places and where no more may be
/// read. What comes after the end stays unread, as on a socket.
inline TalkEnd talkInPieces(const MakeTalk& make, std::string_view answers,
                            const std::vector<std::size_t>& cuts) {
  const auto talk = make();
  TalkEnd end;
  const auto listen = [&] {
    if (std::string bytes = talk->takeOutput(); !bytes.empty()) end.sent.push_back(std::move(bytes));
  };
  listen();
  std::size_t at = 0;
  while (at < answers.size() && talk->state() == ProxyTalk::State::Talking) {
    const auto cut = std::upper_bound(cuts.begin(), cuts.end(), at);
    const std::size_t stop = cut == cuts.end() ? answers.size() : *cut;
    const std::size_t size = std::min(stop - at, talk->wanted());
    if (size == 0) break;
    talk->feed(answers.substr(at, size));
    at += size;
    listen();
  }
  end.state = talk->state();
  end.error = talk->error();
  return end;
}

/// The same end whole, byte by byte, and cut at every place.
inline TalkEnd talkHoweverCut(const MakeTalk& make, std::string_view answers, std::string& difference) {
  const TalkEnd whole = talkInPieces(make, answers, {});
  std::vector<std::size_t> everywhere;
  for (std::size_t cut = 1; cut < answers.size(); ++cut) {
    everywhere.push_back(cut);
    if (talkInPieces(make, answers, {cut}) != whole) difference += "cut at " + std::to_string(cut) + "; ";
  }
  if (talkInPieces(make, answers, everywhere) != whole) difference += "byte by byte";
  return whole;
}

}  // namespace orv::test
