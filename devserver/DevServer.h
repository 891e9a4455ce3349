#pragma once

#include "devserver/engine/Counters.h"
#include "devserver/engine/ReceivedFrame.h"
#include "devserver/faults/Cut.h"
#include "devserver/faults/Faults.h"
#include "devserver/faults/Garbage.h"

#include <boost/json/object.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// Where the server listens, and its bounds.
struct DevServerOptions {
  /// Address to listen on. The page and the control answer clients of this machine only, whatever stands here, unless there
  /// is a token.
  std::string host = "127.0.0.1";
  /// Names by which other machines reach the server. A request that names another host than these, the address that it came
  /// to and this machine is refused, since a page of someone else may have led a name here.
  std::vector<std::string> names{};
  /// What opens the page and the control to other machines: "Authorization: Bearer TOKEN", or "?token=TOKEN" behind the
  /// target. Empty: nothing does.
  std::string token{};
  /// 0: a free one, chosen at the first start and kept from then on.
  std::uint16_t port = 0;
  /// PEM file with the certificate chain; empty: no TLS. With TLS the control is at https.
  std::string tlsCertificateFile;
  /// PEM file with the key; empty: it is in the certificate's file.
  std::string tlsKeyFile;
  /// SQLite file that keeps the school, open to its owner only; empty: it lives as long as the object.
  std::string dataFile;
  /// WebSockets at a time. Beyond, the one that has been silent longest goes for one that comes, if it has never sent a
  /// message or none for `silence`, or if it is of the address with most and the one that comes is the first of its own.
  /// Others are answered with the status 503.
  std::size_t maxConnections = 1000;
  /// A longer message ends its connection with close code 1009.
  std::size_t maxMessageBytes = 32u << 20;
  /// Output that waits for a client. One that does not read is reset beyond this.
  std::size_t maxQueuedBytes = 64u << 20;
  /// Replies that faults hold back or delay, in bytes. What comes beyond is thrown away.
  std::size_t maxWaitingBytes = 256u << 20;
  /// Received frames that are kept, by number and by bytes.
  std::size_t keptFrames = 10'000;
  std::size_t keptFrameBytes = 64u << 20;
  /// Commands that the server does not know are echoed, as "Dev.…" always are, instead of refused.
  bool echo = false;
  /// Sessions end by themselves this long after the sign-in or its refresh; 0: never. Tokens stay good.
  std::chrono::milliseconds sessionLifetime{0};
  /// From TCP's accept to the end of the WebSocket handshake.
  std::chrono::milliseconds handshakeTimeout{5'000};
  /// Connections beside as many WebSockets: those in their handshake, requests, and readers of the events. Beyond, the oldest
  /// one in its handshake goes for one that comes. So no number of WebSockets keeps the page or the control out.
  std::size_t maxRequests = 64;
  /// A WebSocket that has sent no message for so long gives its place to another one when all are taken. The library's
  /// clients send one every 30 s.
  std::chrono::milliseconds silence{65'000};
};

/// The embedded classroom server: a WebSocket server with a small school in it that answers like the real
/// one and misbehaves on request. It works on one thread of its own.
///
/// A host's test runs it in its own process, on a port that is free, and looks at what it got:
///
///     orv::DevServer server;
///     server.start();
///     link.setApiServerUrl(server.url());                    // and the host goes to work
///     server.faults().dropReplies(1, "Course.Get.Items");
///     auto frame = server.waitForFrame(
///         [](const auto& frame) { return frame.text.find("Course.Get.Items") != std::string::npos; },
///         std::chrono::seconds(5));
///
/// Every operation may be called from any thread, also while the server is stopped. What changes
/// connections waits until it is done, so that its effect comes before anything that the caller does next.
/// Where nothing is said of a failure there is none.
class DevServer {
 public:
  using Options = DevServerOptions;
  using Frame = devserver::ReceivedFrame;

  /// Throws std::runtime_error when the data file cannot be used.
  explicit DevServer(Options options = {});
  /// Stops the server.
  ~DevServer();
  DevServer(const DevServer&) = delete;
  DevServer& operator=(const DevServer&) = delete;

  /// Listens. Does nothing where it listens already. Throws std::runtime_error with a text for a person when
  /// the address or the port cannot be had or the certificate cannot be used.
  void start();
  /// Closes every connection without a close frame and ends the thread. May be called again. Not from a
  /// frame listener (throws std::logic_error there).
  void stop();
  /// `stop` and `start` on the same port.
  void restart();
  /// Whether it listens.
  bool running() const;

  /// The port that it listens on, or had when it was running; 0 before.
  std::uint16_t port() const;
  /// "ws://127.0.0.1:PORT", or "wss://…" with TLS; with the address that it listens on, and where that stands for all
  /// ("0.0.0.0", "::") with the loopback one of the same kind.
  std::string url() const;
  /// Where a browser finds the page that shows what passes: "http://127.0.0.1:PORT/", or "https://…" with TLS.
  std::string pageUrl() const;

  /// The misbehaviour in force.
  devserver::Faults& faults();

  /// @name What is done to connections
  /// `user` is a user id or a mobile number; empty means every open connection. The results are the numbers of
  /// connections reached.
  /// @{

  /// Sends a push frame {"C":command,"s":now,"v":values}. Throws std::invalid_argument for a number that JSON cannot
  /// have.
  std::size_t push(std::string_view command, const boost::json::object& values = {},
                   std::string_view user = {});
  /// Sends a text frame as it is.
  std::size_t sendText(std::string_view text, std::string_view user = {});
  /// Sends something that a client should not have to expect.
  std::size_t sendGarbage(const devserver::Garbage& garbage, std::string_view user = {});
  /// Ends connections, in the way that `cut` says.
  std::size_t cut(const devserver::Cut& cut, std::string_view user = {});
  /// Ends sessions: the next command that needs one is answered by 1001. Tokens stay good.
  std::size_t expireSessions(std::string_view user = {});
  /// Ends sessions and drops the tokens: "User.Post.Session" is answered by 2.
  std::size_t revokeTokens(std::string_view user = {});

  /// @}
  /// @name The courses of the school
  /// They are there for every command at once. `fields` are the members under which clients read a course; those left out
  /// are as in any recorded course of classroom 5001. Everything throws std::invalid_argument for what is not there or not
  /// possible, and std::runtime_error when it cannot be kept.
  /// @{

  /// Adds one course, and returns its room id. A "roomID" among the fields is taken, and must be free.
  std::int64_t addCourse(const boost::json::object& fields = {});
  /// Adds many as one change, numbered in their titles, and returns their room ids in ascending order.
  std::vector<std::int64_t> addCourses(std::size_t count, const boost::json::object& fields = {});
  /// Sets members, such as "status", "title", "publishStatus" or "liveStatus"; null removes one.
  void changeCourse(std::int64_t roomID, const boost::json::object& fields);
  /// Takes a course out of the school, with all that belongs to it. Nothing is pushed.
  void removeCourse(std::int64_t roomID);
  /// The course as "Course.Get.Items" lists it; absent when there is none.
  std::optional<boost::json::object> course(std::int64_t roomID);
  /// Pushes "Rooms.Push.Message" with an item {"data":{"roomID":…,"code":…}} for each room.
  std::size_t pushCourses(const std::vector<std::int64_t>& roomIDs, int code = 0, std::string_view user = {});
  /// @}

  /// Sessions end by themselves this long after the sign-in or its refresh; 0: never.
  void setSessionLifetime(std::chrono::milliseconds lifetime);
  /// The commands that are carried out, in alphabetical order.
  std::vector<std::string> commands() const;

  /// The newest frames that came in, oldest first.
  std::vector<Frame> receivedFrames() const;
  /// Forgets them; the counters stay.
  void clearReceivedFrames();
  /// The first kept or coming frame that the predicate accepts; absent after `timeout`.
  std::optional<Frame> waitForFrame(const std::function<bool(const Frame&)>& predicate,
                                    std::chrono::milliseconds timeout) const;
  /// Waits until the condition holds. It is asked now and whenever a frame came in, was dealt with or answered,
  /// or a connection opened or closed. False after `timeout`.
  bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout) const;
  /// Called with each frame as it comes in, before it is answered, on the server's thread. An empty function
  /// ends it.
  void setFrameListener(std::function<void(const Frame&)> listener);

  /// Open WebSocket connections.
  std::size_t connectionCount() const;
  /// What has happened since the object was made.
  devserver::Counters counters() const;

  /// What `GET /control` answers: connections, counters and faults.
  boost::json::object state();
  /// Does what `POST /control` does with this object. Throws std::invalid_argument with a text that names
  /// what was expected.
  boost::json::object control(const boost::json::object& request);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv
