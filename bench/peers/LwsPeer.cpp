// libwebsockets on the thread of its loop. Nothing is parsed.

#include "bench/peers/support/Meter.h"
#include "bench/peers/support/Order.h"
#include "bench/peers/support/Texts.h"

#include <libwebsockets.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

namespace {

/// What waits to be written is as many requests as may be sent, since all are the same.
class Client {
 public:
  explicit Client(const peers::Order& order) : meter_(order) {}

  int happened(lws* socket, lws_callback_reasons reason, std::size_t bytes) {
    switch (reason) {
      case LWS_CALLBACK_CLIENT_ESTABLISHED:
        meter_.start();
        while (meter_.mayAsk()) ++waiting_;
        lws_callback_on_writable(socket);
        return 0;
      case LWS_CALLBACK_CLIENT_RECEIVE:
        come_ += bytes;
        if (lws_is_final_fragment(socket) != 0 && lws_remaining_packet_payload(socket) == 0) received(socket);
        return 0;
      case LWS_CALLBACK_CLIENT_WRITEABLE:
        return write(socket);
      case LWS_CALLBACK_CLIENT_CONNECTION_ERROR:
      case LWS_CALLBACK_CLIENT_CLOSED:
        std::fputs("the connection is lost\n", stderr);
        std::exit(EXIT_FAILURE);
      default:
        return 0;
    }
  }
  const peers::Meter& meter() const { return meter_; }

 private:
  void received(lws* socket) {
    meter_.answered(std::exchange(come_, 0));
    if (!meter_.mayAsk()) return;
    ++waiting_;
    lws_callback_on_writable(socket);
  }
  int write(lws* socket) {
    while (waiting_ > 0 && lws_send_pipe_choked(socket) == 0) {
      // It is masked in place.
      std::memcpy(room_.data() + LWS_PRE, request_.data(), request_.size());
      if (lws_write(socket, room_.data() + LWS_PRE, request_.size(), LWS_WRITE_TEXT) < 0) return -1;
      --waiting_;
    }
    if (waiting_ > 0) lws_callback_on_writable(socket);
    return 0;
  }

  peers::Meter meter_;
  const std::string request_ = peers::readyRequest();
  std::array<unsigned char, LWS_PRE + peers::kRequestBytes> room_{};
  std::size_t waiting_ = 0;
  std::size_t come_ = 0;
};

int callBack(lws* socket, lws_callback_reasons reason, void*, void*, size_t bytes) {
  auto* const client = static_cast<Client*>(lws_context_user(lws_get_context(socket)));
  return client != nullptr ? client->happened(socket, reason, bytes) : 0;
}

lws_context* makeContext(const lws_protocols* protocols, Client& client) {
  lws_set_log_level(LLL_ERR, nullptr);
  lws_context_creation_info info{};
  info.port = CONTEXT_PORT_NO_LISTEN;
  info.protocols = protocols;
  info.user = &client;
  return lws_create_context(&info);
}

bool connectTo(const peers::Order& order, lws_context* context) {
  lws_client_connect_info info{};
  info.context = context;
  info.address = info.host = info.origin = order.host.c_str();
  info.port = order.port;
  info.path = "/";
  info.local_protocol_name = "peer";
  return lws_client_connect_via_info(&info) != nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  const peers::Order order = peers::readOrder(argc, argv);
  Client client(order);
  const std::array<lws_protocols, 2> protocols{{{"peer", &callBack, 0, 0, 0, nullptr, 0}, {}}};
  lws_context* const context = makeContext(protocols.data(), client);
  if (context == nullptr || !connectTo(order, context)) return EXIT_FAILURE;
  while (!client.meter().isOver() && lws_service(context, 0) >= 0) {
  }
  if (!client.meter().isOver()) return EXIT_FAILURE;
  client.meter().print();
  std::fflush(stdout);
  std::_Exit(EXIT_SUCCESS);
}
