#pragma once

#include <orvnetwork/platform/native/websocket/codec/FrameReader.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::test {

/// What a reader makes of bytes, as lines: "text hello", "ping x", "close 1000 bye", "fault 1002, told 0".
class FrameReading {
 public:
  explicit FrameReading(std::size_t limit) : reader_(limit) {}

  void feed(std::string bytes) {
    std::string_view left = bytes;
    for (auto event = reader_.next(left); event != FrameReader::Event::NeedsMore;
         event = reader_.next(left)) {
      note(event);
    }
    // Nothing may point here any more.
    bytes.assign(bytes.size(), '!');
  }
  void feedInPieces(std::string_view bytes, std::size_t size) {
    for (std::size_t at = 0; at < bytes.size(); at += size) feed(std::string(bytes.substr(at, size)));
  }

  const std::vector<std::string>& events() const { return events_; }
  const FrameReader& reader() const { return reader_; }

 private:
  void note(FrameReader::Event event) {
    using Event = FrameReader::Event;
    const FrameReader::End& end = reader_.end();
    switch (event) {
      case Event::Text:
        return events_.push_back("text " + reader_.takeMessage());
      case Event::Binary:
        return events_.push_back("binary " + reader_.takeMessage());
      case Event::Ping:
        return events_.push_back("ping " + std::string(reader_.controlPayload()));
      case Event::Pong:
        return events_.push_back("pong " + std::string(reader_.controlPayload()));
      case Event::Close:
        return events_.push_back("close " + std::to_string(end.code) + " " + std::string(end.reason));
      case Event::Fault:
        return events_.push_back("fault " + std::to_string(end.answer) + ", told " +
                                 std::to_string(end.code));
      case Event::NeedsMore:
        return;
    }
  }

  FrameReader reader_;
  std::vector<std::string> events_;
};

}  // namespace orv::test
