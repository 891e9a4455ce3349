#pragma once

#include "devserver/net/LinkCore.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/bind_handler.hpp>
#include <boost/beast/core/role.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace orv::devserver {

namespace beast = boost::beast;

/// A LinkCore in the shape that HTTP and WebSocket code expects of a stream. Copies share the core.
class Link {
 public:
  using executor_type = net::io_context::executor_type;

  explicit Link(std::shared_ptr<LinkCore> core) : core_(std::move(core)) {}

  executor_type get_executor() { return core_->executor(); }
  LinkCore& core() { return *core_; }

  template <class Buffers, class Handler>
  void async_read_some(const Buffers& buffers, Handler&& handler) {
    using Waiting = ReadWaiter<Buffers, std::decay_t<Handler>>;
    if (net::buffer_size(buffers) != 0 && !core_->inputReady()) {
      core_->awaitInput(std::make_unique<Waiting>(core_, buffers, std::forward<Handler>(handler)));
      return;
    }
    auto [error, size] = take(*core_, buffers);
    net::post(get_executor(), beast::bind_front_handler(std::forward<Handler>(handler), error, size));
  }

  template <class Buffers, class Handler>
  void async_write_some(const Buffers& buffers, Handler&& handler) {
    std::size_t size = 0;
    error_code error;
    if (core_->ended()) {
      error = net::error::broken_pipe;
    } else {
      // In one piece: other frames are queued beside this stream.
      std::string bytes(net::buffer_size(buffers), '\0');
      size = net::buffer_copy(net::buffer(bytes), buffers);
      core_->write(bytes);
    }
    net::post(get_executor(), beast::bind_front_handler(std::forward<Handler>(handler), error, size));
  }

 private:
  template <class Buffers>
  static std::pair<error_code, std::size_t> take(LinkCore& core, const Buffers& buffers) {
    if (net::buffer_size(buffers) == 0) return {};
    const std::string_view input = core.input();
    if (input.empty()) return {core.inputEnd(), 0};
    const std::size_t size = net::buffer_copy(buffers, net::buffer(input.data(), input.size()));
    core.consumeInput(size);
    return {error_code(), size};
  }

  template <class Buffers, class Handler>
  class ReadWaiter : public LinkCore::Waiter {
   public:
    template <class GivenHandler>
    ReadWaiter(std::shared_ptr<LinkCore> core, const Buffers& buffers, GivenHandler&& handler)
        : core_(std::move(core)), buffers_(buffers), handler_(std::forward<GivenHandler>(handler)) {}
    void ready() override {
      auto [error, size] = take(*core_, buffers_);
      net::dispatch(core_->executor(), beast::bind_front_handler(std::move(handler_), error, size));
    }

   private:
    std::shared_ptr<LinkCore> core_;
    Buffers buffers_;
    Handler handler_;
  };

  std::shared_ptr<LinkCore> core_;
};

template <class Handler>
void async_teardown(beast::role_type, Link& link, Handler&& handler) {
  link.core().finish(true);
  net::post(link.get_executor(), beast::bind_front_handler(std::forward<Handler>(handler), error_code()));
}

inline void teardown(beast::role_type, Link& link, error_code& error) {
  link.core().finish(true);
  error = {};
}

inline void beast_close_socket(Link& link) {
  link.core().close();
}

}  // namespace orv::devserver
