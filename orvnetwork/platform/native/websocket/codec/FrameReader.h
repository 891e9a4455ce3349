#pragma once

// The server's frames of RFC 6455, sections 5 and 7, as a client without extensions reads them. Each rule is looked at
// with the first byte that can break it: the first two of a head one by one, then the length, then the payload as it
// comes. So what is refused does not depend on how the bytes are cut, and nothing is waited for in vain.

#include <orvnetwork/platform/native/websocket/codec/Opcode.h>
#include <orvnetwork/platform/native/websocket/codec/Utf8Check.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv {

/// Makes messages, pings, pongs and the end of the bytes that a server sends. It knows neither sockets nor time, and
/// answers nothing: what each event asks for is the caller's to do. One thread at a time.
///
///     for (std::string_view bytes = whatCame; reader.next(bytes) != FrameReader::Event::NeedsMore;) { ... }
class FrameReader {
 public:
  enum class Event {
    NeedsMore,  // all bytes were taken
    Text,       // `takeMessage`
    Binary,     // `takeMessage`
    Ping,       // `controlPayload`: to be sent back
    Pong,       // `controlPayload`
    Close,      // `end`; nothing comes after it
    Fault       // `end`: the peer has broken a rule; nothing comes after it
  };

  /// How it ends.
  struct End {
    int code = 0;  // in the peer's close frame, as it stands there; 1005 for none, 0 without a whole one
    std::string_view reason;  // in a good close frame; lives as long as the reader
    int answer = 0;           // what to answer or to begin the end with
  };

  /// @param limit the longest message that is taken, in bytes; a longer one is a fault
  explicit FrameReader(std::size_t limit) : limit_(limit) {}
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

  /// Takes bytes from the front up to the next event. After the end it throws away all that it gets.
  Event next(std::string_view& bytes);

  /// The message that has come, once, before the bytes go that were given to `next`.
  std::string takeMessage();
  std::string_view controlPayload() const { return {control_.data(), controlSize_}; }
  const End& end() const { return end_; }

  /// How many bytes of a message are here that is not whole.
  std::size_t unfinished() const { return message_.size(); }

 private:
  enum class Step { Head, Payload, Over };

  // What is wrong, as the code to end with; 0 for nothing.
  int takeHead(std::string_view& bytes);
  int beginPayload();
  bool acceptsKind();
  bool acceptsForm();

  Event takeControl(std::string_view& bytes);
  Event finishControl();
  Event finishClose();
  Event takeData(std::string_view& bytes);
  Event finishInPlace(std::string_view message);
  bool append(std::string_view piece);
  Event finishMessage();
  Event finish(Event event, const End& end);
  bool isControl() const { return opcode_ >= Opcode::Close; }

  const std::size_t limit_;
  Step step_ = Step::Head;

  // The frame.
  std::array<std::uint8_t, 10> head_{};
  std::size_t headBytes_ = 0;
  std::size_t headSize_ = 2;
  Opcode opcode_ = Opcode::Text;
  bool isLast_ = false;
  std::uint64_t payloadLeft_ = 0;

  // The message, in one frame or more.
  bool isInMessage_ = false;
  bool isText_ = false;
  std::string message_;       // as much as has come of one that did not come at once
  std::string_view inPlace_;  // one that did: in the bytes that were given
  Utf8Check utf8_;

  std::array<char, kLongestControlPayload> control_{};
  std::size_t controlSize_ = 0;
  End end_;
};

}  // namespace orv
