#pragma once

#include <orvnetwork/data/Export.h>

#include <functional>
#include <string>
#include <string_view>

namespace orv {

/// The diagnostic console: one line a message, on standard error with a time stamp unless the host installs
/// a sink of its own.
class ORV_EXPORT Console {
 public:
  /// Takes one line, well-formed UTF-8 without a line feed at its end and without a time stamp. It may hold line feeds,
  /// and any other control characters, that came from a server or a file; `printable` makes it fit for a terminal. The
  /// line lives as long as the call.
  using Sink = std::function<void(std::string_view line)>;

  /// Writes a line and returns when it has been written. Any thread; lines are never mixed. Never throws: a line
  /// that cannot be written is lost.
  /// @param line the text, UTF-8, without a line feed at its end; bytes that are no UTF-8 become U+FFFD. On standard
  /// error control characters are written as `printable` shows them, and a line feed before what looks like the date of
  /// a line there as `\\n`
  static void write(std::string_view line);

  /// Replaces the place where lines go; an empty sink brings standard error back. The sink is called on the
  /// thread that writes, one call at a time, without any other lock held; what it writes to the console
  /// itself is dropped. It must not wait for a thread that uses the library, since that thread may be waiting to
  /// write a line. Once this has returned the old sink is not called any more. Any thread.
  static void setSink(Sink sink);

  /// While one exists on a thread, what that thread writes waits; it is written when the last one on the thread goes.
  /// For those who hold a lock that the sink, being the host's, must not meet.
  class ORV_EXPORT Hold {
   public:
    Hold();
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
  };
};

}  // namespace orv
