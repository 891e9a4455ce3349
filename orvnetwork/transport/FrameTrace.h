#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <functional>
#include <string>

namespace orv {

/// What an entry of the trace tells of.
enum class TraceKind {
  Began,     ///< a file of the trace begins here
  Attempt,   ///< an attempt to connect begins
  Opened,    ///< the socket is open
  Up,        ///< the server has answered "PING" on this socket for the first time
  Failed,    ///< an attempt or a link has failed, or the server has closed it
  Closed,    ///< the socket was closed on this side
  Sent,      ///< a message went to the server
  Received,  ///< a message came from the server
  Skipped,   ///< entries are missing here
};

/// Its name: "began", "attempt" and so on. Any thread.
ORV_EXPORT std::string_view nameOf(TraceKind kind);

/// What of a frame is told.
enum class TraceMode {
  /// All of it but what `hideSecrets` hides, at any depth, and in texts that are JSON themselves. Names, messages and
  /// numbers of users are there: for those who may see them.
  SecretsHidden,
  /// Only what a list allows: the command, the identifier of the request, the codes, and numbers of paging. All else is left
  /// out and counted, so nothing of users, texts or addresses is there. For strangers.
  Shareable,
};

/// One entry of the trace: a plain value, without secrets.
struct TraceEntry {
  TraceKind kind = TraceKind::Skipped;
  /// When it happened.
  WallTime time{};
  /// Which connection it was: attempts are counted from 1. 0 where it belongs to none.
  std::uint64_t connection = 0;
  /// The bytes of a message as it passed; 0 otherwise.
  std::size_t size = 0;
  /// Of a message: the frame as JSON on one line, secrets hidden, or for what is no JSON its size, such as "(12 bytes)"; "PING"
  /// and "PONG" are told as they are. Otherwise what is to be said for a person; it may be empty.
  std::string text;
  /// Whether `text` is JSON.
  bool isJson = false;
  /// Of a failure: the name of its `LinkTrouble`. Empty otherwise.
  std::string reason;
  /// How many entries are missing; 0 but for `Skipped`.
  std::uint64_t skipped = 0;

  bool operator==(const TraceEntry&) const = default;
};

/// Takes the entries of the trace: see `QXWebSocketMgr::setFrameTrace`, also for the threads on which it is called and
/// destroyed.
using TraceSink = std::function<void(const TraceEntry& entry)>;

/// The entry as a line of a trace file, without a line feed: a JSON dictionary with "time" (UTC), "kind", "connection",
/// "bytes", "frame" (a dictionary, of what is JSON) or "text", "reason" and "skipped", without those that say nothing. Any
/// thread.
ORV_EXPORT std::string lineOf(const TraceEntry& entry);

}  // namespace orv
