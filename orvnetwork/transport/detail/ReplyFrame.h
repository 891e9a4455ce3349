#pragma once

// The server's text frames: {"C": command, "s": timestamp of the request, "v": {"ret": code, "err": text, "data":
// …}}. Members may be missing or of another kind and are read loosely: "s" may be text, a missing "ret" is 0. What
// is not JSON ("PONG" is not), is no dictionary, or holds a "v" that is none, is told by `error`.

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/transport/detail/FrameHead.h>

#include <memory>
#include <string>
#include <string_view>

namespace orv {

/// A text message of the server, read as a reply or push frame.
struct ReplyFrame {
  /// A message whose values would take more memory than this is no frame. It takes some millions of values; those of
  /// the largest replies are some thousands.
  static constexpr std::size_t kMostMemory = std::size_t{128} << 20;

  /// Why there is no frame.
  Error error;
  /// "C": the command.
  OptionalString command;
  /// "s": the identifier of the request that it answers; 0 when there is none.
  std::int64_t timestamp = 0;
  /// "v"."ret": the result code; 0 when there is none.
  std::int32_t ret = 0;
  /// What the values take of memory that `read` has made, in bytes.
  std::size_t memory = 0;
  /// When the message was read from the socket.
  SteadyTime arrivedAt{};

  /// False when the message is not JSON, not a dictionary, or holds a "v" that is not one.
  bool isFrame() const { return root_.has_value() || !unread_.empty(); }
  bool succeeded() const { return ret == 0; }
  /// The whole frame; only when `isFrame()`. That of a head is read with the first call, after which the frame may be used
  /// on any thread; one with an index stays as it is.
  const json::object& dictionary() const {
    if (!root_) readValues();
    return root_->get_object();
  }

  /// The message, while its values have not been read, and for good when it has an index.
  const std::string& unreadText() const { return unread_; }
  /// Where the values stand in that text: what the frame was made with, else made with the first call, after which the frame
  /// may be used on any thread. Null where there is no text, or one that is out of the ordinary.
  const std::shared_ptr<const JsonIndex>& index() const;

  /// Reads a message. Any thread.
  static std::shared_ptr<const ReplyFrame> read(std::string_view message, SteadyTime arrivedAt = {});
  /// A frame of which only the head has been read, with its text. Any thread.
  static std::shared_ptr<const ReplyFrame> ofHead(const FrameHead& head, std::string message,
                                                  std::shared_ptr<const JsonIndex> index = nullptr);

 private:
  void readValues() const;

  mutable std::optional<json::value> root_;
  mutable std::string unread_;
  mutable std::shared_ptr<const JsonIndex> index_;
};

}  // namespace orv
