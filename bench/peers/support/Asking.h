#pragma once

#include "bench/peers/support/Meter.h"

namespace peers {

/// Asks for as long as the meter wants, and prints what it has measured. `request(answered)` sends one request and has
/// `answered()` called, on this thread, by its reply; `main` runs that until it is stopped.
template <typename Main, typename Request>
void askAndPrint(const Order& order, Main& main, const Request& request) {
  Meter meter(order);
  const auto ask = [&](const auto& self) -> void {
    request([&, self] {
      meter.answered();
      if (meter.mayAsk()) self(self);
      if (meter.isOver()) main.stop();
    });
  };
  meter.start();
  while (meter.mayAsk()) ask(ask);
  main.run();
  meter.print();
}

}  // namespace peers
