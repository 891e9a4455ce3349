// What TLS adds to connecting, and what of that a handshake saves that goes on from an earlier one: links over plain
// TCP, with full handshakes and with resumed ones, beside each other in each round.

#include <orvnetwork/orvnetwork.h>

#include "bench/support/ServerProcess.h"
#include <tests/support/TestCertificate.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using orv::test::TestCertificate;

constexpr int kLinks = 200;

/// Stops the main queue when the socket is open or has failed.
class Opening final : public orv::WebSocketDelegate {
 public:
  void webSocketDidOpen(orv::WebSocket&) override { orv::MainQueue::instance().stop(); }
  void webSocket_didFailWithError(orv::WebSocket&, const orv::Error& error) override {
    throw std::runtime_error(error.text());
  }
  void webSocket_didReceiveMessage(orv::WebSocket&, orv::WebSocketMessage) override {}
  void webSocket_didReceivePong(orv::WebSocket&, std::string) override {}
  void webSocket_didCloseWithCode_reason_wasClean(orv::WebSocket&, int, const orv::OptionalString&,
                                                  bool) override {
    orv::MainQueue::instance().stop();
  }
};

struct Measured {
  std::vector<double> open;  // milliseconds, until the link is open
  std::vector<double> tls;   // of these, the handshake
  std::size_t bytes = 0;
  int resumed = 0;
};

/// Opens one link and closes it again.
void measure(const std::string& url, std::shared_ptr<const orv::NetworkSettings> network, Measured& into) {
  Opening delegate;
  const auto socket = orv::Platform::current().makeWebSocket({.url = url, .network = std::move(network)});
  socket->setDelegate(&delegate);
  const auto begin = std::chrono::steady_clock::now();
  socket->open();
  orv::MainQueue::instance().run();
  const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - begin;
  const orv::ConnectReport report = socket->connectReport();
  into.open.push_back(spent.count());
  into.tls.push_back(report.tls.value_or(orv::Seconds(0)).count() * 1000);
  into.bytes = report.tlsBytes;
  into.resumed += report.tlsResumed ? 1 : 0;
  socket->close();
  orv::MainQueue::instance().run();
  socket->setDelegate(nullptr);
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void tell(const char* what, const Measured& measured) {
  std::printf("  %-16s %7.3f ms until open, %7.3f ms of TLS, %5zu bytes of TLS, %d of %zu resumed\n", what,
              median(measured.open), median(measured.tls), measured.bytes, measured.resumed,
              measured.open.size());
}

void compare(const std::string& key) {
  const TestCertificate root({.commonName = "root", .isAuthority = true, .key = key});
  const TestCertificate between = root.issue({.commonName = "between", .isAuthority = true, .key = key});
  const TestCertificate own = between.issue({.commonName = "server", .names = "IP:127.0.0.1", .key = key});
  const std::string chain =
      orv::test::writeTestFile("chain-" + key + ".pem", own.pem() + between.pem() + own.keyPem());
  const bench::ServerProcess plainServer;
  const bench::ServerProcess server(-1, chain);
  orv::NetworkSettings resuming{.tls = {.rootTexts = {root.pem()}, .usesSystemRoots = false}};
  orv::NetworkSettings full = resuming;
  full.tls.resumes = false;
  const auto fullNetwork = std::make_shared<const orv::NetworkSettings>(full);
  const auto resumingNetwork = std::make_shared<const orv::NetworkSettings>(resuming);
  Measured warmUp;
  measure(plainServer.url(), nullptr, warmUp);
  measure(server.url(), resumingNetwork, warmUp);
  Measured plain, whole, resumed;
  for (int i = 0; i < kLinks; ++i) {
    measure(plainServer.url(), nullptr, plain);
    measure(server.url(), fullNetwork, whole);
    measure(server.url(), resumingNetwork, resumed);
  }
  std::printf("keys of %s, two certificates sent:\n", key.c_str());
  tell("plain", plain);
  tell("full handshake", whole);
  tell("resumed", resumed);
  std::printf(
      "  resumed / full: %.2f of the handshake's time, %.2f of its bytes, %.2f of the time until open\n",
      median(resumed.tls) / median(whole.tls),
      static_cast<double>(resumed.bytes) / static_cast<double>(whole.bytes),
      median(resumed.open) / median(whole.open));
}

}  // namespace

int main() {
  orv::Console::setSink([](std::string_view) {});
  for (const char* key : {"P-256", "RSA2048"}) compare(key);
  return 0;
}
