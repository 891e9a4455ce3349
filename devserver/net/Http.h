#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

// Plain HTTP as the logic of the server sees it: what is asked, what is answered, and an answer that goes on.

namespace orv::devserver {

/// An HTTP request. The texts live as long as the call that they are given to; what was not sent is empty.
struct HttpRequest {
  std::string_view method;
  std::string_view target;
  std::string_view body;
  std::string_view host;
  std::string_view origin;
  std::string_view fetchSite;  ///< "Sec-Fetch-Site"
  std::string_view lastEvent;  ///< "Last-Event-ID"
  std::string_view authorization{};
  std::string reachedAt{};  ///< the numeric address that the connection came to
  bool tls = false;
  bool fromThisMachine = false;
};

/// The body of an answer that goes on until either side ends it. I/O thread only; goes before the network does.
class HttpStream {
 public:
  virtual ~HttpStream() = default;
  virtual void write(std::string_view bytes) = 0;
  /// Bytes that wait for the client.
  virtual std::size_t waiting() const = 0;
  /// Ends the answer.
  virtual void end() = 0;
  /// Called whenever nothing waits any more.
  virtual void setOnDrained(std::function<void()> callback) = 0;
  /// Called once, when the client has gone; not at the end of the network.
  virtual void setOnClosed(std::function<void()> callback) = 0;
};

/// An answer to a plain HTTP request.
struct HttpAnswer {
  unsigned status = 200;
  std::string body{};
  std::string contentType = "application/json";
  std::string head{};  ///< further lines of the head, each with its CR LF
  /// Where set, the body goes on: this is called with the stream that it goes to.
  std::function<void(std::shared_ptr<HttpStream>)> stream{};
};

/// The answer {"err":text}.
HttpAnswer httpProblem(unsigned status, std::string_view text);

}  // namespace orv::devserver
