// Whatever the server sends, and however its connections end: each request ends once, nothing stays in the table,
// and the link comes up again.
//
// An input is a row of lines. "$0" to "$3" in a line stand for the identifiers of four requests that wait for their
// replies. The first byte of a line says what is done with the rest:
//
//   1 a binary message   2 the end of the stream   3 a close frame   4 a reset   5 a pong   6 time passes
//
// and everything else is a text message.

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/fuzz/Require.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace orv;
using orv::test::require;

constexpr std::size_t kRequests = 4;
constexpr Seconds kTimeoutPassed{11};
constexpr Seconds kPausePassed{2};

class FuzzedLink {
 public:
  FuzzedLink() {
    Console::setSink([](std::string_view) {});
    QXFileLog::standard().saveLog();  // lines go nowhere from now on: a growing file would slow each run down
    platform_.server().onRequest([this](auto connection, const json::object& frame) {
      if (frame.at("c").as_string() == "User.Post.Session") {
        platform_.server().reply(connection, frame, {{"ret", 0}});
      }
    });
    link_.setApiServerUrl("ws://fuzz.test");
    link_.watchNetworkStatus();
  }

  void run(std::string_view input) {
    comeUp();
    identifiers_.clear();
    ends_.clear();
    for (std::size_t i = 0; i < kRequests; ++i) ask("Course.Get");
    platform_.settle();
    while (!input.empty()) {
      const std::size_t end = std::min(input.find('\n'), input.size());
      play(input.substr(0, end));
      input.remove_prefix(std::min(end + 1, input.size()));
    }
    platform_.settle();
    finish();
  }

 private:
  void comeUp() {
    for (int tries = 0; tries < 4 && !link_.isOpen(); ++tries) {
      platform_.runFor(kPausePassed);
      if (!link_.isOpen()) link_.reconnect();
      platform_.settle();
    }
    require(link_.isOpen(), "the link comes up again");
  }

  void ask(const char* command) {
    const std::size_t number = ends_.size();
    ends_.push_back(0);
    // A moment apart, so that identifiers differ.
    platform_.stall(Seconds(0.002));
    auto item = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
        command, std::nullopt, [this, number](const auto&, bool, const json::object&) { ++ends_[number]; },
        [this, number](const auto&) { ++ends_[number]; });
    identifiers_.push_back(std::to_string(item->timestamp));
    link_.sendRequestItem(item);
  }

  void play(std::string_view line) {
    auto& server = platform_.server();
    const auto connection = server.latest();
    if (line.empty()) return server.send(connection, {});
    const std::string rest = withIdentifiers(line.substr(1));
    switch (line.front()) {
      case '1':
        return server.sendBinary(connection, rest);
      case '2':
        return server.cut(connection);
      case '3':
        return server.close(connection, rest.size(), rest.substr(0, 100));
      case '4':
        return server.reset(connection);
      case '5':
        return server.sendPong(connection, rest.substr(0, 100));
      case '6':
        return platform_.runFor(kPausePassed);
      default:
        return server.send(connection, withIdentifiers(line));
    }
  }

  std::string withIdentifiers(std::string_view text) const {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
      const bool stands = text[i] == '$' && i + 1 < text.size() && text[i + 1] >= '0' && text[i + 1] <= '3';
      if (stands) {
        result += identifiers_[static_cast<std::size_t>(text[++i] - '0')];
      } else {
        result += text[i];
      }
    }
    return result;
  }

  /// Gives parked requests a session and lets the others run into their time-outs.
  void finish() {
    comeUp();
    ask("User.Post.Session");
    platform_.runFor(kTimeoutPassed);
    require(link_.parkedRequestCount() == 0, "no request stays parked once there is a session");
    require(link_.outstandingRequestCount() == 0, "no request stays in the table");
    for (const int ends : ends_) require(ends == 1, "each request ends once");
    require(platform_.network().liveSockets() <= 2, "old sockets end");
    platform_.server().clearRecords();
  }

  testing::SimulatedPlatform& platform_ = testing::SimulatedPlatform::install();
  QXWebSocketMgr& link_ = QXWebSocketMgr::standard();
  std::vector<std::string> identifiers_;
  std::vector<int> ends_;
};

}  // namespace

// The link lives on from one input to the next, so what an input adds to it looks like a leak, and looking for one
// after each input takes most of the time.
extern "C" const char* __asan_default_options() {
  return "detect_leaks=0";
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static auto* const link = new FuzzedLink;
  link->run({reinterpret_cast<const char*>(data), size});
  return 0;
}
