#pragma once

#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/data/Types.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orv {

/// What the link needs of a frame before anybody wants its values: found by an index of the text, without making them.
///
/// The tree of a small frame is made on the thread that will drop it, just before it is handed out: memory that one thread
/// takes and another gives back costs more than the reading. Until then the frame is its text. A text that has a head is a
/// frame for certain, and `ReplyFrame::read` reads the same in it; where a text is in any way out of the ordinary there is
/// no head, and it has to be read whole. So has one that tells of a failure, which is logged as soon as it is here.
struct FrameHead {
  /// A longer text has none: reading it would hold up the main thread.
  static constexpr std::size_t kLongestText = std::size_t{8} << 10;

  /// When the message was read from the socket.
  SteadyTime arrivedAt{};
  /// "s": the identifier of the request that it answers; 0 when there is none.
  std::int64_t timestamp = 0;
  /// Where "C", the command, stands in the text, as it is; at 0 when there is none.
  std::uint32_t commandAt = 0;
  std::uint32_t commandSize = 0;

  /// The head of a message; absent where it has to be read whole. Any thread.
  static std::optional<FrameHead> read(std::string_view message, SteadyTime arrivedAt = {});
  /// The head of a message of any length that has an index; absent where its values are to be read. Any thread.
  static std::optional<FrameHead> read(std::string_view message, const JsonIndex& index,
                                       SteadyTime arrivedAt = {});
};

}  // namespace orv
