#pragma once

#include "devserver/commands/CommandTable.h"
#include "devserver/crowd/Crowd.h"
#include "devserver/engine/Counters.h"
#include "devserver/engine/FrameLog.h"
#include "devserver/faults/Faults.h"
#include "devserver/faults/Garbage.h"
#include "devserver/net/Network.h"
#include "devserver/net/NetworkEvents.h"
#include "devserver/page/HttpGuard.h"
#include "devserver/page/Page.h"
#include "devserver/page/PassedFrame.h"
#include "devserver/school/School.h"

#include <boost/json/object.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace orv::devserver {

/// The logic of the server: reads frames, runs commands, applies the faults, pushes. I/O thread only,
/// except where said otherwise.
class Engine : public NetworkEvents {
 public:
  Engine(Faults& faults, FrameLog& log, const std::string& dataFile, bool echoUnknown,
         std::chrono::milliseconds sessionLifetime);
  ~Engine() override;

  /// True on the I/O thread of the network that runs. Any thread.
  bool onThread() const { return thread_.load() == std::this_thread::get_id(); }
  /// What answers plain HTTP requests to "/control".
  using ControlAnswer = std::function<HttpAnswer(std::string_view method, std::string_view body)>;
  void setControl(ControlAnswer control) { control_ = std::move(control); }
  /// Who may come in beside this machine. To be said before the network starts.
  void setDoor(Door door) { door_ = std::move(door); }
  /// The network has stopped: lets go of it, of every connection and of everything that waits to be sent.
  void stopped();

  // `user` is a user id or a mobile number; empty means every connection. The results are numbers of
  // connections.
  std::size_t push(std::string_view command, const json::object& values, std::string_view user);
  std::size_t sendText(std::string_view text, std::string_view user);
  std::size_t sendGarbage(const Garbage& garbage, std::string_view user);
  std::size_t cut(const Cut& cut, std::string_view user);
  /// The connections lose their sessions; tokens stay good.
  std::size_t expireSessions(std::string_view user);
  /// The connections lose their sessions, and the tokens are dropped: the next refresh is answered by 2.
  std::size_t revokeTokens(std::string_view user);
  /// Sends the replies that the reorder fault holds, newest first.
  void releaseHeld();

  School& school() { return school_; }
  const CommandTable& commands() const { return commands_; }
  /// Sessions end by themselves this long after the sign-in; 0: never.
  void setSessionLifetime(std::chrono::milliseconds lifetime) { sessionLifetime_ = lifetime; }
  /// Replies that are held or delayed have at most so many bytes; what comes beyond is thrown away.
  void setMaxWaitingBytes(std::size_t bytes) { maxWaitingBytes_ = bytes; }
  Page& page() { return page_; }
  /// Each open connection: {"id":…,"uID":…,"nick":…,"since":…}, the last in seconds since 1970.
  json::array describePeers();

  // Any thread.
  std::size_t connectionCount() const { return connectionCount_; }
  Counters counters() const;

  void started(Network& network) override;
  void opened(std::shared_ptr<Peer> peer) override;
  void closed(Peer& peer) override;
  void received(Peer& peer, std::string_view payload, bool binary) override;
  HttpAnswer http(const HttpRequest& asked) override;
  std::string_view refusesWebSocket(const HttpRequest& request) override;
  void tcpAccepted() override { ++counters_.tcpAccepted; }
  void turnedAway() override;
  void slowReaderCut() override { ++counters_.slowReadersCut; }

 private:
  using Kind = PassedFrame::Kind;
  using SteadyTime = std::chrono::steady_clock::time_point;
  struct Reply {
    std::string command{};
    std::string text{};
    std::optional<int> code{};
    SteadyTime asked{};
    std::size_t copies = 1;
    unsigned faults = 0;  ///< bits of PassedFrame::Fault
    std::size_t bytes() const { return command.size() + text.size(); }
  };
  struct Held {
    std::weak_ptr<Peer> peer;
    Reply reply;
  };

  void answerPing(Peer& peer, std::string_view ping, SteadyTime asked);
  void answerRequest(Peer& peer, std::string_view text, SteadyTime asked);
  void reply(Peer& peer, Reply reply, json::value timestamp, json::object values);
  void deliver(Peer& peer, const Reply& reply);
  void deliverLater(Peer& peer, Reply reply, const Faults::ReplyPlan& plan);
  void showReply(const Peer& peer, const Reply& reply, unsigned faults);
  // What passes is shown on the page.
  void show(const Peer& peer, Kind kind, std::string_view payload = {}, unsigned faults = 0);
  void show(const Peer& peer, PassedFrame frame, std::string_view payload);
  void endSessionThatLasted(Peer& peer);
  void settle(Peer& peer, CommandContext& context);
  void sendPush(const Push& push);
  void tellRoomsOfLoss(const Session& session);
  json::value nickOf(const Peer& peer);
  void sendPush(Peer& peer, std::string_view text);
  Crowd::Peers select(std::string_view user);

  Faults& faults_;
  FrameLog& log_;
  School school_;
  CommandTable commands_;
  ControlAnswer control_;
  Page page_;
  Door door_;
  Network* network_ = nullptr;
  std::atomic<std::thread::id> thread_{};
  Crowd crowd_;
  std::chrono::milliseconds sessionLifetime_;
  std::vector<Held> held_;
  std::size_t delayed_ = 0;
  std::size_t waitingBytes_ = 0;  ///< of the replies that are held or delayed
  std::size_t maxWaitingBytes_ = std::numeric_limits<std::size_t>::max();
  std::atomic<std::size_t> connectionCount_{0};
  BasicCounters<std::atomic<std::uint64_t>> counters_;
};

}  // namespace orv::devserver
