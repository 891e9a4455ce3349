#pragma once

#include <cstddef>
#include <string>
#include <utility>

namespace orv::devserver {

/// Something that a client should not have to expect.
///
///     server.sendGarbage(orv::devserver::Garbage::deepNesting());
struct Garbage {
  enum class Form {
    Text,    ///< one text frame with these bytes
    Binary,  ///< one binary frame with these bytes
    Wire,    ///< these bytes between two frames
  };
  Form form = Form::Text;  ///< how it goes out
  std::string payload;     ///< the bytes

  /// A text frame with these bytes.
  static Garbage text(std::string payload) { return {Form::Text, std::move(payload)}; }
  /// A binary frame with these bytes.
  static Garbage binary(std::string payload) { return {Form::Binary, std::move(payload)}; }
  /// Bytes that need not be a frame at all.
  static Garbage wire(std::string payload) { return {Form::Wire, std::move(payload)}; }
  /// A text frame that is not UTF-8.
  static Garbage invalidUtf8() { return text("{\"C\":\"\xff\xfe\xc0\x80\"}"); }
  /// A text frame with a JSON array instead of an object.
  static Garbage array() { return text("[1,\"two\",{\"C\":\"Rooms.Push.Message\"},null]"); }
  /// A text frame with arrays nested this deep; the JSON is whole.
  static Garbage deepNesting(std::size_t depth = 100'000) {
    return text("{\"C\":\"Dev.Echo\",\"s\":1,\"v\":" + std::string(depth, '[') + std::string(depth, ']') +
                "}");
  }
  /// One text frame of exactly this size: a JSON object with a long text in it.
  static Garbage huge(std::size_t bytes = 16u << 20) {
    const std::string head = "{\"C\":\"Dev.Echo\",\"s\":1,\"v\":{\"ret\":0,\"data\":\"", tail = "\"}}";
    const std::size_t rest = head.size() + tail.size();
    return text(head + std::string(bytes > rest ? bytes - rest : 0, 'x') + tail);
  }
};

}  // namespace orv::devserver
