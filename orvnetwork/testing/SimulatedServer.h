#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/testing/ReplyFault.h>
#include <orvnetwork/testing/Scheduler.h>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace orv::testing {

class SimulatedClientEnd;
class SimulatedServerEnd;
struct SimulatedLink;

/// The number of a connection: that of the socket that made it, 1 for the first.
using ConnectionId = int;

/// A text message of a client.
struct ReceivedFrame {
  ConnectionId connection = 0;
  std::string text;
  SteadyTime time{};
};

/// The end of a connection as the server sees it.
struct ReceivedClose {
  ConnectionId connection = 0;
  /// The code in the client's close frame; absent when the stream just ended.
  std::optional<int> code;
  /// Whether the client answered a close frame of the server.
  bool isAnswer = false;
  SteadyTime time{};
};

/// A protocol ping or pong of a client.
struct ReceivedControl {
  ConnectionId connection = 0;
  std::string payload;
  SteadyTime time{};
};

/// The server's side of all simulated connections. It records what it receives, and does what the test says:
///
///     auto& server = platform.server();
///     server.onRequest([&](ConnectionId connection, const json::object& frame) {
///       server.reply(connection, frame, {{"ret", 0}, {"data", {{"name", "Ann"}}}});
///     });
///
/// By itself it answers the text "PING" with "PONG", a protocol ping with a pong and a close frame with a
/// close frame. Handlers run as tasks of the link, never on the main thread. Operations on a connection
/// that has ended do nothing.
class ORV_EXPORT SimulatedServer {
 public:
  explicit SimulatedServer(std::shared_ptr<Scheduler> scheduler);
  ~SimulatedServer();
  SimulatedServer(const SimulatedServer&) = delete;
  SimulatedServer& operator=(const SimulatedServer&) = delete;

  // What it does by itself.
  void setAnswersPing(bool answers) { answersPing_ = answers; }
  void setAnswersProtocolPing(bool answers) { answersProtocolPing_ = answers; }
  void setAnswersClose(bool answers) { answersClose_ = answers; }

  /// Called with each text that is a JSON object.
  void onRequest(std::function<void(ConnectionId, const json::object&)> handler) {
    onRequest_ = std::move(handler);
  }
  /// Called with each text, before the answer to "PING" and before `onRequest`.
  void onText(std::function<void(ConnectionId, const std::string&)> handler) { onText_ = std::move(handler); }
  void onConnect(std::function<void(ConnectionId)> handler) { onConnect_ = std::move(handler); }
  void onEnd(std::function<void(ConnectionId)> handler) { onEnd_ = std::move(handler); }

  /// Answers a request: {"C": its "c", "s": its "s", "v": `values`}, with the next fault if there is one.
  void reply(ConnectionId connection, const json::object& request, json::object values);
  /// Sends {"C": `command`, "s": 0, "v": `values`}.
  void push(ConnectionId connection, std::string_view command, json::object values);
  /// What happens to the replies that follow, one after another; when there is none left the chooser decides.
  void faultNextReply(ReplyFault fault) { faults_.push_back(fault); }
  /// Asked about each reply frame; empty: no faults.
  void setFaultChooser(std::function<ReplyFault(const json::object& reply)> chooser) {
    chooser_ = std::move(chooser);
  }
  /// Sends the replies that `ReplyFault::reorder` holds back.
  void sendHeldReplies(ConnectionId connection);

  /// Sends one message, whatever its text.
  void send(ConnectionId connection, std::string text);
  void sendBinary(ConnectionId connection, std::string bytes);
  void sendPing(ConnectionId connection, std::string payload);
  /// Sends a pong, asked for or not.
  void sendPong(ConnectionId connection, std::string payload);
  /// Starts the closing handshake; an absent code sends a close frame without a body.
  void close(ConnectionId connection, std::optional<int> code = 1000, OptionalString reason = std::nullopt);
  /// Ends the stream without a close frame.
  void cut(ConnectionId connection);
  void cutAll();
  /// Resets the connection: the client's socket fails with ECONNRESET.
  void reset(ConnectionId connection);
  /// From now on the server takes what comes, records it, and answers nothing, not even "PING" or a close
  /// frame; the connection stays up. False makes it talk again.
  void setSilent(ConnectionId connection, bool silent = true);

  /// The connections that are up, oldest first.
  std::vector<ConnectionId> connections() const;
  /// The connection that came last; 0 before the first.
  ConnectionId latest() const { return latest_; }
  bool isConnected(ConnectionId connection) const { return open_.contains(connection); }
  /// All connections that were ever accepted, in that order.
  const std::vector<ConnectionId>& accepted() const { return accepted_; }

  // What it received, in the order of arrival.
  const std::vector<ReceivedFrame>& frames() const { return frames_; }
  const std::vector<ReceivedClose>& closes() const { return closes_; }
  const std::vector<ReceivedControl>& pings() const { return pings_; }
  const std::vector<ReceivedControl>& pongs() const { return pongs_; }
  /// The frames that are JSON objects, of all commands or of one.
  std::vector<json::object> requests(std::string_view command = {}) const;
  /// The last request of this command; absent when there was none.
  std::optional<json::object> lastRequest(std::string_view command) const;
  /// How many frames have this very text.
  std::size_t countFrames(std::string_view text) const;
  /// Moves the frames recorded so far out.
  std::vector<ReceivedFrame> takeFrames() { return std::exchange(frames_, {}); }
  /// Forgets everything recorded; the connections stay.
  void clearRecords();

 private:
  friend class SimulatedNetwork;
  class End;
  using Link = std::shared_ptr<SimulatedLink>;

  // What the network brings.
  SimulatedServerEnd& end();
  void setLatency(Seconds toClient) { toClient_ = toClient; }
  void accept(const Link& link);
  void textArrived(const Link& link, const std::string& text);
  void pingArrived(const Link& link, const std::string& payload);
  void pongArrived(const Link& link, const std::string& payload);
  void closeArrived(const Link& link, int code);
  void streamEnded(const Link& link);

  Link find(ConnectionId connection) const;
  void pushToClient(const Link& link, std::function<void(SimulatedClientEnd&)> arrival);
  void forget(const Link& link);
  ReplyFault nextFault(const json::object& frame);
  void sendReply(ConnectionId connection, json::object frame, const ReplyFault& fault);

  const std::shared_ptr<Scheduler> scheduler_;
  const std::shared_ptr<Lane> lane_;
  const std::unique_ptr<End> end_;
  Seconds toClient_{0};
  bool answersPing_ = true;
  bool answersProtocolPing_ = true;
  bool answersClose_ = true;
  std::function<void(ConnectionId, const json::object&)> onRequest_;
  std::function<void(ConnectionId, const std::string&)> onText_;
  std::function<void(ConnectionId)> onConnect_;
  std::function<void(ConnectionId)> onEnd_;
  std::deque<ReplyFault> faults_;
  std::function<ReplyFault(const json::object&)> chooser_;
  std::map<ConnectionId, std::vector<std::string>> heldReplies_;
  std::map<ConnectionId, Link> open_;
  ConnectionId latest_ = 0;
  std::vector<ConnectionId> accepted_;
  std::vector<ReceivedFrame> frames_;
  std::vector<ReceivedClose> closes_;
  std::vector<ReceivedControl> pings_;
  std::vector<ReceivedControl> pongs_;
};

}  // namespace orv::testing
