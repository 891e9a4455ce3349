// What a request costs above the socket: processor time of all threads and allocations, with a socket that answers by
// itself. The same exchange without the library is taken off.
//
//   bench_AboveSocketBench [requests]

#include <orvnetwork/orvnetwork.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/transport/DistinctIdentifiers.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "bench/support/EchoSocket.h"
#include "bench/support/OpenLink.h"

#include <time.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

std::atomic<std::uint64_t> allocations{0};

}  // namespace

// Counted here, since all of the library's memory comes this way.
void* operator new(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* const block = std::malloc(size)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace {

using namespace orv;

constexpr int kOutstanding = 256;
constexpr int kRounds = 7;

double processorMicroseconds() {
  ::timespec used{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

struct Cost {
  double microseconds = 0;
  double allocations = 0;
};

Cost costOf(int requests, const std::function<void()>& work) {
  const std::uint64_t before = allocations;
  const double begin = processorMicroseconds();
  work();
  return {(processorMicroseconds() - begin) / requests, static_cast<double>(allocations - before) / requests};
}

/// Through the library, with some requests always outstanding.
void askLibrary(int requests, int outstanding) {
  MainQueue& main = MainQueue::instance();
  QXWebSocketMgr& link = QXWebSocketMgr::standard();
  const DistinctIdentifiers distinct;
  int toSend = requests;
  int toCome = requests;
  std::function<void()> next = [&] {
    if (toSend-- <= 0) return;
    json::object values{
        {"roomID", "1234567"}, {"title", "代数 lesson 12"}, {"start", 0}, {"limit", 30}, {"draft", false}};
    link.sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
        "Dev.Echo", std::move(values),
        [&](const auto&, bool, const json::object&) {
          next();
          if (--toCome == 0) main.stop();
        },
        [](const auto&) { std::abort(); }));
  };
  for (int i = 0; i < outstanding; ++i) next();
  main.run();
}

/// The socket alone: texts that are there, and replies that nobody reads.
class SocketOnly final : public WebSocketDelegate {
 public:
  SocketOnly() : socket_(Platform::current().makeWebSocket({})) {
    socket_->setDelegate(this);
    socket_->open();
    MainQueue::instance().run();
  }
  void ask(int requests, int outstanding) {
    toSend_ = toCome_ = requests;
    for (int i = 0; i < outstanding; ++i) next();
    MainQueue::instance().run();
  }
  void webSocketDidOpen(WebSocket&) override { MainQueue::instance().stop(); }
  void webSocket_didFailWithError(WebSocket&, const Error&) override {}
  void webSocket_didReceiveMessage(WebSocket&, WebSocketMessage) override {
    next();
    if (--toCome_ == 0) MainQueue::instance().stop();
  }
  void webSocket_didCloseWithCode_reason_wasClean(WebSocket&, int, const OptionalString&, bool) override {}
  void webSocket_didReceivePong(WebSocket&, std::string) override {}

 private:
  void next() {
    if (toSend_-- > 0) socket_->send(text_);
  }

  const std::shared_ptr<WebSocket> socket_;
  const std::shared_ptr<const std::string> text_ =
      std::make_shared<const std::string>(R"({"s" : "1706690702345678", "v" : {"roomID" : "1234567"}})");
  int toSend_ = 0;
  int toCome_ = 0;
};

Cost medianOf(std::vector<Cost> costs) {
  std::ranges::sort(costs, {}, &Cost::microseconds);
  return costs[costs.size() / 2];
}

void measure(SocketOnly& socket, int requests, int outstanding) {
  std::vector<Cost> whole, bare;
  for (int round = 0; round < kRounds; ++round) {
    whole.push_back(costOf(requests, [&] { askLibrary(requests, outstanding); }));
    bare.push_back(costOf(requests, [&] { socket.ask(requests, outstanding); }));
  }
  const Cost with = medianOf(whole);
  const Cost without = medianOf(bare);
  std::printf(
      "%5d outstanding: %.2f us of processor time and %.1f allocations a request above the socket (%.2f us "
      "with the "
      "socket's stand-in, which takes %.2f us)\n",
      outstanding, with.microseconds - without.microseconds, with.allocations - without.allocations,
      with.microseconds, without.microseconds);
}

}  // namespace

int main(int argc, char** argv) {
  const int requests = argc > 1 ? std::max(std::atoi(argv[1]), 10'000) : 100'000;
  Platform::install(bench::makeEchoPlatform());
  bench::openLink("ws://127.0.0.1:9/");
  SocketOnly socket;
  askLibrary(requests / 10, kOutstanding);
  for (const int outstanding : {16, kOutstanding, 4096}) measure(socket, requests, outstanding);
  return 0;
}
