// "Bare + JSON": the bare client with Boost.JSON both ways and a table of what is outstanding.

#include "bench/peers/support/Asking.h"
#include "bench/peers/support/Order.h"
#include "bench/peers/support/Texts.h"
#include "bench/support/BareClient.h"
#include "bench/support/MainLoop.h"

#include <boost/json/object.hpp>

#include <string>

int main(int argc, char** argv) {
  const peers::Order order = peers::readOrder(argc, argv);
  const std::string filler = peers::fillerFor([](const std::string& text) {
    return bench::BareClient::frame("Dev.Echo", peers::kFirstIdentifier, peers::requestValues(text)).size();
  });
  bench::MainLoop main;
  bench::BareClient client(order.host, order.port, main, peers::kFirstIdentifier);
  client.connect();

  peers::askAndPrint(order, main, [&](auto answered) {
    client.request("Dev.Echo", peers::requestValues(filler),
                   [answered](const boost::json::object&) { answered(); });
  });
  return 0;
}
