#include "bench/peers/support/Order.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace peers {

namespace {

[[noreturn]] void fail(const char* program) {
  std::fprintf(stderr, "usage: %s ADDRESS:PORT OUTSTANDING REQUESTS|SECONDSs\n", program);
  std::exit(2);
}

}  // namespace

Order readOrder(int argc, char** argv) {
  const char* const program = argc > 0 ? argv[0] : "peer";
  if (argc != 4) fail(program);
  Order order;
  const std::string_view address = argv[1];
  const auto colon = address.rfind(':');
  if (colon == std::string_view::npos) fail(program);
  order.host = address.substr(0, colon);
  order.port = static_cast<unsigned short>(std::atoi(argv[1] + colon + 1));
  order.outstanding = std::strtoull(argv[2], nullptr, 10);
  const std::string_view amount = argv[3];
  if (amount.ends_with('s')) {
    order.time = std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::duration<double>(std::atof(argv[3])));
  } else {
    order.requests = std::strtoull(argv[3], nullptr, 10);
  }
  if (order.port == 0 || order.outstanding == 0 || (order.requests == 0 && order.time.count() <= 0)) {
    fail(program);
  }
  return order;
}

}  // namespace peers
