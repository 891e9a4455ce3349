// The library, as a host has it: table of requests, time-outs, session rules, statistics, log, order of callbacks.

#include <orvnetwork/orvnetwork.h>
#include <orvnetwork/transport/DistinctIdentifiers.h>

#include "bench/peers/support/Asking.h"
#include "bench/peers/support/Order.h"
#include "bench/peers/support/Texts.h"
#include "bench/support/OpenLink.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace {

std::shared_ptr<orv::QXRequestItem> request(const std::string& filler, orv::CompleteBlock complete) {
  return orv::QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "Dev.Echo", peers::requestValues(filler), std::move(complete), [](const auto&) {
        std::fputs("a request timed out\n", stderr);
        std::exit(EXIT_FAILURE);
      });
}

}  // namespace

int main(int argc, char** argv) {
  const peers::Order order = peers::readOrder(argc, argv);
  bench::openLink("ws://" + order.host + ":" + std::to_string(order.port));
  auto& main = orv::MainQueue::instance();
  auto& link = orv::QXWebSocketMgr::standard();
  const orv::DistinctIdentifiers distinct;
  const std::string filler =
      peers::fillerFor([](const std::string& text) { return request(text, {})->jsonString->size(); });

  peers::askAndPrint(order, main, [&](auto answered) {
    link.sendRequestItem(request(filler, [answered](const auto&, bool success, const orv::json::object&) {
      if (!success) std::exit(EXIT_FAILURE);
      answered();
    }));
  });
  return 0;
}
