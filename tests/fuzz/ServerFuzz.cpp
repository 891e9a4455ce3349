// Whatever clients and browsers send to the embedded server: it answers, refuses or ignores it, and goes on.
//
// An input is a row of lines. The first byte of a line says what is done with the rest:
//
//   1 a text frame of the second client   2 a binary frame   3 posted to /control   4 a GET of that path   5 the first
//   client leaves and comes back   6 time passes
//
// and everything else is a text frame of the first client.

#include "devserver/control/Control.h"
#include "devserver/crowd/Peer.h"
#include "devserver/engine/Engine.h"
#include "devserver/net/Network.h"
#include <tests/fuzz/Require.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace orv::devserver;
using orv::test::require;

/// Runs tasks when it is told to.
class HeldNetwork final : public Network {
 public:
  void stop() override {}
  std::uint16_t port() const override { return 1; }
  void post(std::function<void()> task) override { tasks_.push_back(std::move(task)); }
  void runAfter(std::chrono::milliseconds, std::function<void()> task) override { post(std::move(task)); }

  void runTasks() {
    for (auto& task : std::exchange(tasks_, {})) task();
  }

 private:
  std::vector<std::function<void()>> tasks_;
};

class CountingPeer final : public Peer {
 public:
  void sendText(std::string_view) override { ++sent; }
  void sendBinary(std::string_view) override { ++sent; }
  void sendWire(std::string_view) override { ++sent; }
  void cut(const Cut&) override { isCut = true; }

  std::size_t sent = 0;
  bool isCut = false;
};

class FuzzedServer {
 public:
  FuzzedServer() {
    engine_.setControl(
        [this](std::string_view method, std::string_view body) { return control_.answer(method, body); });
    engine_.started(network_);
    for (auto& client : clients_) connect(client);
  }
  ~FuzzedServer() {
    for (auto& client : clients_) engine_.closed(*client);
    engine_.stopped();
  }

  void run(std::string_view input) {
    while (!input.empty()) {
      const std::size_t end = std::min(input.find('\n'), input.size());
      play(input.substr(0, end));
      input.remove_prefix(std::min(end + 1, input.size()));
    }
    network_.runTasks();
    stillAnswers();
  }

 private:
  void connect(std::shared_ptr<CountingPeer>& client) {
    client = std::make_shared<CountingPeer>();
    client->id = ++lastId_;
    client->since = std::chrono::system_clock::now();
    engine_.opened(client);
  }

  void play(std::string_view line) {
    const std::string_view rest = line.substr(std::min<std::size_t>(1, line.size()));
    switch (line.empty() ? '\0' : line.front()) {
      case '1':
        return engine_.received(*clients_[1], rest, false);
      case '2':
        return engine_.received(*clients_[0], rest, true);
      case '3':
        return http("POST", "/control", rest);
      case '4':
        return http("GET", rest, "");
      case '5':
        engine_.closed(*clients_[0]);
        return connect(clients_[0]);
      case '6':
        return network_.runTasks();
      default:
        engine_.received(*clients_[0], line, false);
    }
  }

  void http(std::string_view method, std::string_view target, std::string_view body) {
    const HttpAnswer answer = engine_.http({.method = method,
                                            .target = target,
                                            .body = body,
                                            .host = "127.0.0.1:1",
                                            .origin = "",
                                            .fetchSite = "",
                                            .lastEvent = "",
                                            .reachedAt = "127.0.0.1",
                                            .tls = false,
                                            .fromThisMachine = true});
    require(answer.status >= 200 && answer.status < 600, "an answer has a status");
  }

  void stillAnswers() {
    http("POST", "/control", R"({"clear":true})");
    network_.runTasks();
    auto& client = clients_[0];
    engine_.closed(*client);
    connect(client);
    engine_.received(*client, "PING", false);
    network_.runTasks();
    require(client->sent > 0, "a PING is answered");
  }

  Faults faults_;
  FrameLog log_{100, 1 << 20};
  Engine engine_{faults_, log_, "", false, std::chrono::milliseconds(0)};
  Control control_{engine_, faults_};
  HeldNetwork network_;
  std::uint64_t lastId_ = 0;
  std::shared_ptr<CountingPeer> clients_[2];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A fresh school now and then: making one takes longer than a run.
  constexpr int kRunsOfOneSchool = 200;
  static std::unique_ptr<FuzzedServer> server;
  static int runs = 0;
  if (runs++ % kRunsOfOneSchool == 0) {
    server.reset();
    server = std::make_unique<FuzzedServer>();
  }
  server->run({reinterpret_cast<const char*>(data), size});
  return 0;
}
