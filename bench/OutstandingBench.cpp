// 100,000 requests outstanding: memory for each beside its frame text, and the cost of arming a time-out.

#include <orvnetwork/orvnetwork.h>
#include <orvnetwork/transport/detail/TimeoutList.h>

#include "bench/support/OpenLink.h"
#include "bench/support/ServerProcess.h"
#include "bench/support/UniqueRequests.h"

#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace {

constexpr std::size_t kRequests = 100000;

std::size_t allocatedBytes() {
  return ::mallinfo2().uordblks;
}

double armNanoseconds() {
  constexpr int kArmed = 2000000;
  orv::TimeoutList list;
  const auto now = std::chrono::steady_clock::now();
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < kArmed; ++i) list.arm(now + std::chrono::microseconds(i), i);
  const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - begin;
  return list.size() == kArmed ? spent.count() / kArmed : -1;
}

}  // namespace

int main() {
  bench::ServerProcess server;
  bench::openLink(server.url());
  auto& main = orv::MainQueue::instance();
  auto& link = orv::QXWebSocketMgr::standard();
  server.control(R"({"silence":true})");

  std::size_t texts = 0;
  bench::UniqueRequests requests;
  const auto before = allocatedBytes();
  const auto begin = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < kRequests; ++i) {
    const auto item = requests.make(
        "Dev.Echo", {{"roomID", "1234567"}, {"start", i}}, [](const auto&, bool, const orv::json::object&) {},
        [](const auto&) {});
    texts += item->jsonString->capacity() + 1;
    link.sendRequestItem(item);
  }
  main.post([&] { main.stop(); });
  while (link.outstandingRequestCount() < kRequests) main.drain();
  const std::chrono::duration<double, std::micro> spent = std::chrono::steady_clock::now() - begin;
  // What still waits to be written is the texts' own business; let it go out first.
  main.run();
  const auto each = static_cast<double>(allocatedBytes() - before - texts) / kRequests;
  std::printf(
      "100,000 outstanding: %zu in the table, %.0f bytes each beside the frame text (budget 1024), "
      "%.1f us to build and send each\n",
      link.outstandingRequestCount(), each, spent.count() / kRequests);
  std::printf("arming a time-out: %.0f ns (budget 100)\n", armNanoseconds());
  return 0;
}
