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
  /// As the client has sent it, JSON or not.
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

/// A protocol ping or pong of a client. `time`, here as above, is a moment of the virtual steady clock.
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
///
/// Each handler is the only one of its kind: setting another replaces it, and an empty one takes it away. What it
/// refers to must be there whenever the simulation runs. `onEnd` is also called inside `cut` and `reset`.
///
/// A test that looks at what came, once the link is open:
///
///     QXAPIHelper::logoutWithCompleteBlock_timeoutBlock({}, {});
///     platform.settle();
///     EXPECT_TRUE(server.lastRequest("User.Post.Logout"));
///
/// One thread: that of the simulation. A host takes the server from `SimulatedPlatform::server`, which owns it.
class ORV_EXPORT SimulatedServer {
 public:
  /// @param scheduler gives the lane on which delayed replies wait
  explicit SimulatedServer(std::shared_ptr<Scheduler> scheduler);
  ~SimulatedServer();
  SimulatedServer(const SimulatedServer&) = delete;
  SimulatedServer& operator=(const SimulatedServer&) = delete;

  // What it does by itself.
  /// Whether the text "PING" is answered with "PONG". True at the start, like the two that follow.
  void setAnswersPing(bool answers) { answersPing_ = answers; }
  /// Whether a protocol ping is answered with a pong of the same payload.
  void setAnswersProtocolPing(bool answers) { answersProtocolPing_ = answers; }
  /// Whether a client's close frame is answered. Without an answer the client cuts the connection after 10 s.
  void setAnswersClose(bool answers) { answersClose_ = answers; }

  /// Called with each text that is a JSON object. Its answer may go out at once, with `reply`, or later.
  void onRequest(std::function<void(ConnectionId, const json::object&)> handler) {
    onRequest_ = std::move(handler);
  }
  /// Called with each text, before the answer to "PING" and before `onRequest`.
  void onText(std::function<void(ConnectionId, const std::string&)> handler) { onText_ = std::move(handler); }
  /// Called when the server has accepted a connection; the client is told of it after that. Something sent from here
  /// arrives as the first message.
  void onConnect(std::function<void(ConnectionId)> handler) { onConnect_ = std::move(handler); }
  /// Called once for each connection, when it is no longer among `connections`.
  void onEnd(std::function<void(ConnectionId)> handler) { onEnd_ = std::move(handler); }

  /// Answers a request: {"C": its "c", "s": its "s", "v": `values`}, with the next fault if there is one.
  /// A request without "c" or "s" gets an answer without it.
  void reply(ConnectionId connection, const json::object& request, json::object values);
  /// Sends {"C": `command`, "s": 0, "v": `values`}. Faults do not apply to it.
  void push(ConnectionId connection, std::string_view command, json::object values);
  /// What happens to the replies that follow, one after another; when there is none left the chooser decides.
  void faultNextReply(ReplyFault fault) { faults_.push_back(fault); }
  /// Asked about each reply frame; empty: no faults. It sees the whole frame, as it would be sent.
  void setFaultChooser(std::function<ReplyFault(const json::object& reply)> chooser) {
    chooser_ = std::move(chooser);
  }
  /// Sends the replies that `ReplyFault::reorder` holds back, in the order in which they were made.
  void sendHeldReplies(ConnectionId connection);

  /// Sends one message, whatever its text.
  /// Everything that is sent arrives in its order, after the latency, and nothing after the server's close frame.
  void send(ConnectionId connection, std::string text);
  /// Sends one binary message.
  void sendBinary(ConnectionId connection, std::string bytes);
  /// Sends a protocol ping, which the client answers by itself: see `pongs`.
  void sendPing(ConnectionId connection, std::string payload);
  /// Sends a pong, asked for or not.
  void sendPong(ConnectionId connection, std::string payload);
  /// Starts the closing handshake; an absent code sends a close frame without a body.
  /// The connection is up until the client has answered.
  /// @param code one that no peer may send, such as 1005, is answered with 1002
  /// @param reason UTF-8; without a meaning when `code` is absent
  void close(ConnectionId connection, std::optional<int> code = 1000, OptionalString reason = std::nullopt);
  /// Ends the stream without a close frame. The client has what was sent before.
  void cut(ConnectionId connection);
  void cutAll();
  /// Resets the connection: the client's socket fails with ECONNRESET.
  void reset(ConnectionId connection);
  /// From now on the server takes what comes, records it, and answers nothing, not even "PING" or a close
  /// frame; the connection stays up. False makes it talk again. What the test itself sends still goes out.
  void setSilent(ConnectionId connection, bool silent = true);

  /// The connections that are up, oldest first.
  std::vector<ConnectionId> connections() const;
  /// The connection that came last, even when it has ended; 0 before the first.
  ConnectionId latest() const { return latest_; }
  bool isConnected(ConnectionId connection) const { return open_.contains(connection); }
  /// All connections that were accepted since the start or the last `clearRecords`, in that order.
  const std::vector<ConnectionId>& accepted() const { return accepted_; }

  // What it received, in the order of arrival.
  /// All texts, "PING" among them. The references here hold until the simulation goes on.
  const std::vector<ReceivedFrame>& frames() const { return frames_; }
  /// The ends of connections that the client brought about or answered; one that was cut here is not among them.
  const std::vector<ReceivedClose>& closes() const { return closes_; }
  const std::vector<ReceivedControl>& pings() const { return pings_; }
  /// Those that the clients have sent as answers to `sendPing`.
  const std::vector<ReceivedControl>& pongs() const { return pongs_; }
  /// The frames that are JSON objects, of all commands or of one. Each call parses them again.
  /// @param command the value of "c", letter by letter; empty: all
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
