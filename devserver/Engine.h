#pragma once

#include <boost/json/object.hpp>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "devserver/CommandTable.h"
#include "devserver/Counters.h"
#include "devserver/Faults.h"
#include "devserver/FrameLog.h"
#include "devserver/Garbage.h"
#include "devserver/Network.h"
#include "devserver/School.h"

namespace orv::devserver {

/// The logic of the server: reads frames, runs commands, applies the faults, pushes. I/O thread only,
/// except where said otherwise.
class Engine : public NetworkEvents {
 public:
  Engine(Faults& faults, FrameLog& log, const std::string& dataFile);
  ~Engine() override;

  /// True on the I/O thread of the network that runs. Any thread.
  bool onThread() const { return thread_.load() == std::this_thread::get_id(); }
  /// What answers plain HTTP requests to "/control".
  using ControlAnswer = std::function<HttpAnswer(std::string_view method, std::string_view body)>;
  void setControl(ControlAnswer control) { control_ = std::move(control); }
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
  /// Each open connection: {"id":…,"uID":…}.
  json::array describePeers() const;

  // Any thread.
  std::size_t connectionCount() const { return connectionCount_; }
  Counters counters() const;

  void started(Network& network) override;
  void opened(std::shared_ptr<Peer> peer) override;
  void closed(Peer& peer) override;
  void received(Peer& peer, std::string_view payload, bool binary) override;
  HttpAnswer http(std::string_view method, std::string_view target, std::string_view body,
                  bool fromThisMachine) override;
  void tcpAccepted() override { ++counters_.tcpAccepted; }
  void turnedAway() override;
  void slowReaderCut() override { ++counters_.slowReadersCut; }

 private:
  struct Held {
    std::weak_ptr<Peer> peer;
    std::string text;
    std::size_t copies;
  };

  void answerPing(Peer& peer);
  void answerRequest(Peer& peer, std::string_view text);
  json::object carryOut(Peer& peer, const RequestFrame& request);
  void reply(Peer& peer, const std::string& command, json::value timestamp, json::object values);
  void deliver(Peer& peer, const std::string& text, std::size_t copies);
  void deliverLater(Peer& peer, std::string text, const Faults::ReplyPlan& plan);
  void endOtherSessions(const Peer& keeper);
  std::vector<std::shared_ptr<Peer>> select(std::string_view user);
  std::weak_ptr<Peer> handle(const Peer& peer) const;

  Faults& faults_;
  FrameLog& log_;
  School school_;
  CommandTable commands_;
  ControlAnswer control_;
  Network* network_ = nullptr;
  std::atomic<std::thread::id> thread_{};
  std::map<std::uint64_t, std::shared_ptr<Peer>> peers_;
  std::uint64_t lastPeer_ = 0;
  std::vector<Held> held_;
  std::size_t delayed_ = 0;
  std::atomic<std::size_t> connectionCount_{0};
  BasicCounters<std::atomic<std::uint64_t>> counters_;
};

}  // namespace orv::devserver
