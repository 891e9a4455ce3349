// Asks 20 times a second through a client of the library, and prints when the link came up, went down, and how long each
// answer took, in milliseconds of the monotonic clock: one JSON line each.
//
//   bench_network_client ws://ADDRESS:PORT

#include <orvnetwork/orvnetwork.h>
#include <orvnetwork/platform/Timer.h>

#include <boost/json/serialize.hpp>

#include <chrono>
#include <iostream>
#include <list>
#include <string_view>
#include <utility>

namespace {

constexpr auto& ask = orv::ask<&orv::QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock>;

double now() {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

void tell(std::string_view name, const orv::json::value& value) {
  std::cout << boost::json::serialize(orv::json::object{{"at", now()}, {name, value}}) << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
  orv::ClientOptions options;
  options.server = argc > 1 ? argv[1] : "";
  options.version = "1.0";
  options.build = "1";
  options.installation = "bench";
  const auto client = orv::Client::start(options);
  if (!client) return std::cerr << client.error().description << '\n', 1;

  orv::LinkStatus& link = (*client)->link();
  bool wasUp = false;
  const auto heard = link.onChanged([&](const orv::LinkChange&) {
    if (link.isUp() != std::exchange(wasUp, link.isUp())) tell(link.isUp() ? "up" : "down", true);
  });
  std::list<orv::PendingCallback> asked;
  orv::Timer::schedule(orv::Seconds(0.05), true, [&] {
    if (!link.isUp()) return;
    if (asked.size() > 1000) asked.pop_front();
    asked.push_back(ask("Dev.Echo", orv::json::object{}).then([begun = now()](const orv::Reply& reply) {
      if (reply) tell("took", now() - begun);
    }));
  });
  orv::MainQueue::instance().run();
}
