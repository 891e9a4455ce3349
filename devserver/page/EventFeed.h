#pragma once

// Server-sent events: "hello" first, then a "frame" for each frame that passes, with an id of RUN-NUMBER, and
// "state" when it has changed. A reader that comes back with "Last-Event-ID" of this run goes on behind it; one of
// another run starts anew. "skipped" stands for frames that are not kept any more.

#include "devserver/net/Http.h"
#include "devserver/net/Network.h"
#include "devserver/page/FrameHistory.h"
#include "devserver/page/PassedFrame.h"

#include <boost/json/object.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv::devserver {

/// The stream of events that the page reads: what is kept of the past, then each frame as it passes, and the
/// state of the server whenever it has changed. A reader that falls behind by more than is kept is told how
/// many frames it has missed; it never holds up the server. I/O thread only.
class EventFeed {
 public:
  static constexpr std::size_t kMaxFrames = 1000;
  static constexpr std::size_t kMaxBytes = 4u << 20;
  /// Beyond, the oldest one goes for one that comes. A page comes back by itself, and goes on where it was.
  static constexpr std::size_t kMaxReaders = 16;
  /// Bytes that wait for one reader; frames beyond stay in the history.
  static constexpr std::size_t kMaxWaiting = 256u << 10;
  /// How soon the readers know of a changed state.
  static constexpr std::chrono::milliseconds kStateInterval{200};

  using State = std::function<boost::json::object()>;

  EventFeed();
  /// What makes the state; asked only while somebody reads.
  void setState(State state) { state_ = std::move(state); }
  void started(Network& network) { network_ = &network; }
  /// The network has stopped: lets go of every reader. What is kept stays.
  void stopped();

  /// Keeps the frame and tells it to the readers.
  void add(PassedFrame frame, std::string_view payload = {});
  /// A reader comes. `lastEvent` is the id of the last event that it has had, as it told; empty: none.
  void attach(std::shared_ptr<HttpStream> stream, std::string_view lastEvent);

 private:
  struct Reader {
    std::shared_ptr<HttpStream> stream;
    std::uint64_t next;              ///< the frame that it gets next
    std::uint64_t stateVersion = 0;  ///< the state that it has
  };

  void makeRoom();
  void greet(Reader& reader, std::string_view lastEvent);
  void serve(Reader& reader);
  void serveLater();
  void refreshState();
  void refreshStateLater();
  const std::string& textOf(std::uint64_t number);
  static std::string event(std::string_view name, std::string_view data, std::string_view id = {});

  const std::string run_;  ///< tells the events of this server object from another's
  FrameHistory history_{kMaxFrames, kMaxBytes};
  State state_;
  Network* network_ = nullptr;
  std::vector<std::shared_ptr<Reader>> readers_;
  std::string stateText_;
  std::uint64_t stateVersion_ = 0;
  bool refreshing_ = false, serving_ = false;
  std::string lastText_;  ///< of the frame that was asked for last: readers mostly ask for the same
  std::uint64_t lastNumber_ = 0;
};

}  // namespace orv::devserver
