#pragma once

// The server's text frames: {"C": command, "s": timestamp of the request, "v": {"ret": code, "err": text, "data":
// …}}. Members may be missing or of another kind and are read loosely: "s" may be text, a missing "ret" is 0. What
// is not JSON ("PONG" is not), is no dictionary, or holds a "v" that is none, is told by `error`.

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Types.h>

#include <memory>

namespace orv {

/// A text message of the server, read as a reply or push frame.
struct ReplyFrame {
  /// A message whose values would take more memory than this is no frame. It takes some millions of values; those of
  /// the largest replies are some thousands.
  static constexpr std::size_t kMostMemory = std::size_t{128} << 20;

  /// The frame, or absent when the message is not JSON, not a dictionary, or holds a "v" that is not one.
  std::optional<json::value> root;
  /// Why there is no frame.
  Error error;
  /// "C": the command.
  OptionalString command;
  /// "s": the identifier of the request that it answers; 0 when there is none.
  std::int64_t timestamp = 0;
  /// "v"."ret": the result code; 0 when there is none.
  std::int32_t ret = 0;
  /// What `root` takes of memory, in bytes.
  std::size_t memory = 0;
  /// When the message was read from the socket.
  SteadyTime arrivedAt{};

  bool isFrame() const { return root.has_value(); }
  bool succeeded() const { return ret == 0; }
  /// The whole frame; only when `isFrame()`.
  const json::object& dictionary() const { return root->get_object(); }

  /// Reads a message. Any thread.
  static std::shared_ptr<const ReplyFrame> read(std::string_view message, SteadyTime arrivedAt = {});
};

}  // namespace orv
