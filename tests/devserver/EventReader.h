#pragma once

#include "tests/devserver/RawClient.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

/// Reads the server's stream of events as the page does.
class EventReader {
 public:
  struct Event {
    std::string name;  ///< empty: the stream has ended
    std::string id;
    boost::json::object data;
  };

  explicit EventReader(std::uint16_t port, std::string_view extraHead = {}, bool tls = false,
                       int receiveBuffer = 0)
      : client_(port, tls, receiveBuffer) {
    client_.sendBytes("GET /events HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n" +
                      std::string(extraHead) + "\r\n");
  }

  /// The head of the answer; read before the first event.
  const std::string& head() {
    if (head_.empty()) head_ = client_.receiveUntil("\r\n\r\n");
    return head_;
  }

  Event next() {
    head();
    Event event;
    const std::string text = client_.receiveUntil("\n\n");
    event.name = line(text, "event: ");
    event.id = line(text, "id: ");
    boost::json::error_code error;  // invalid UTF-8 is one
    const boost::json::value data = boost::json::parse(line(text, "data: "), error);
    const bool understood = text.empty() || (!error && data.is_object());
    EXPECT_TRUE(understood) << text.substr(0, 500);
    if (data.is_object()) event.data = data.get_object();
    text_ += text;
    return event;
  }

  /// The next event of this name; others before it are passed over.
  Event next(std::string_view name) {
    for (;;) {
      Event event = next();
      if (event.name == name || event.name.empty()) return event;
    }
  }

  /// The next frame's data.
  boost::json::object frame() { return next("frame").data; }
  /// The next frame of this kind.
  boost::json::object frame(std::string_view kind) {
    for (;;) {
      boost::json::object data = frame();
      if (data.empty() || data.at("kind").as_string() == kind) return data;
    }
  }
  /// Everything that was read.
  const std::string& text() const { return text_; }

 private:
  static std::string line(const std::string& text, const std::string& label) {
    const std::size_t at = text.starts_with(label) ? 0 : text.find("\n" + label);
    if (at == std::string::npos) return "";
    const std::size_t begin = text.find(label, at) + label.size();
    return text.substr(begin, text.find('\n', begin) - begin);
  }

  RawClient client_;
  std::string head_;
  std::string text_;
};

}  // namespace orv::test
