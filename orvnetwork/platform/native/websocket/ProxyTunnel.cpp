#include "orvnetwork/platform/native/websocket/ProxyTunnel.h"

#include <orvnetwork/platform/native/proxy/HttpConnect.h>
#include <orvnetwork/platform/native/proxy/Socks5.h>

#include <boost/asio/write.hpp>

#include <string>
#include <string_view>
#include <utility>

namespace orv {

namespace {

Error proxyUnreachable(const std::string& shown, const std::string& why) {
  return {websocket_error::kProxyDomain, websocket_error::kProxyUnreachable,
          "the proxy " + shown + " " + why};
}

}  // namespace

Error errorOfProxy(const Proxy& proxy, const Error& error) {
  return proxyUnreachable(shownProxy(proxy), "is not reached: " + error.description);
}

Error proxyTimedOut(const Proxy& proxy) {
  return proxyUnreachable(shownProxy(proxy), "has not opened a way to the server within the time limit");
}

void ProxyTunnel::start(const Proxy& proxy, const std::string& host, std::uint16_t port,
                        std::shared_ptr<void> alive, Done done) {
  alive_ = std::move(alive);
  done_ = std::move(done);
  shown_ = shownProxy(proxy);
  if (proxy.kind == ProxyKind::Http) {
    talk_ = std::make_unique<HttpConnect>(proxy, host, port);
  } else {
    talk_ = std::make_unique<Socks5>(proxy, host, port);
  }
  goOn();
}

void ProxyTunnel::goOn() {
  switch (talk_->state()) {
    case ProxyTalk::State::Done:
      return finish(std::nullopt);
    case ProxyTalk::State::Failed: {
      Error error = talk_->error();
      error.description = "the proxy " + shown_ + " " + error.description;
      return finish(error);
    }
    case ProxyTalk::State::Talking:
      break;
  }
  output_ = talk_->takeOutput();
  if (output_.empty()) {
    read();
  } else {
    write();
  }
}

/// A message leaves in one piece: there are proxies that do not put pieces together.
void ProxyTunnel::write() {
  asio::async_write(socket_, asio::buffer(output_),
                    [this, keep = alive_](const error_code& error, std::size_t) {
                      if (error) return ended(error);
                      read();
                    });
}

void ProxyTunnel::read() {
  input_.resize(talk_->wanted());
  socket_.async_read_some(asio::buffer(input_),
                          [this, keep = alive_](const error_code& error, std::size_t size) {
                            if (error) return ended(error);
                            talk_->feed(std::string_view(input_).substr(0, size));
                            goOn();
                          });
}

void ProxyTunnel::ended(const error_code& error) {
  finish(proxyUnreachable(shown_, "ended the talk: " + error.message()));
}

void ProxyTunnel::finish(const std::optional<Error>& error) {
  const std::shared_ptr<void> alive = std::move(alive_);
  const Done done = std::exchange(done_, nullptr);
  // What was said held the password.
  talk_.reset();
  output_ = {};
  input_ = {};
  done(error);
}

}  // namespace orv
