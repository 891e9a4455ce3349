#include "devserver/DevServer.h"
#include "tests/devserver/EventReader.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"
#include "tests/support/InheritedDescriptors.h"
#include "tests/support/TlsFiles.h"
#include "tests/support/TlsIdentity.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace orv::test::robustness_test {
namespace {

class Robustness : public ServerTest {
 protected:
  void expectAlive() {
    RawClient client = open();
    client.sendText("PING");
    EXPECT_EQ(client.receiveText(), "PONG");
  }
};

TEST_F(Robustness, RandomBytesInsteadOfAHandshakeDoNoHarm) {
  std::mt19937 random(20240131);
  for (int round = 0; round < 50; ++round) {
    RawClient client(server.port());
    std::string bytes(random() % 5'000, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    client.trySendBytes(bytes + "\r\n\r\n");
    EXPECT_NE(client.waitForEnd(), RawClient::End::None);
  }
  expectAlive();
}

TEST_F(Robustness, RandomBytesInsteadOfFramesDoNoHarm) {
  std::mt19937 random(7);
  for (int round = 0; round < 50; ++round) {
    RawClient client = open();
    std::string bytes(2'000, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    bytes[0] = static_cast<char>(0xf0 | bytes[0]);  // reserved bits: no frame whatever follows
    client.trySendBytes(bytes);
    EXPECT_NE(client.waitForEnd(), RawClient::End::None);
  }
  EXPECT_TRUE(server.waitUntil([&] { return server.connectionCount() == 0; }, kPatience));
  expectAlive();
}

TEST_F(Robustness, RandomTextsInFramesDoNoHarm) {
  std::mt19937 random(11);
  const std::string alphabet = R"({}[]",:csv0123456789.eE+-tfn\u )";
  RawClient client = open();
  for (int round = 0; round < 3'000; ++round) {
    std::string text = round % 2 == 0 ? R"({"c":"Dev.Echo","s":"1","v":)" : "";
    for (std::size_t i = random() % 60; i > 0; --i) text += alphabet[random() % alphabet.size()];
    client.sendText(text);
  }
  client.sendText("PING");
  while (client.receiveText() != "PONG") ASSERT_EQ(client.end(), RawClient::End::None);
}

TEST_F(Robustness, UnmaskedFrameEndsTheConnection) {
  RawClient client = open();
  client.sendBytes("\x81\x04PING");
  const auto close = client.receive();
  ASSERT_TRUE(close);
  EXPECT_EQ(close->opcode, 8);
  EXPECT_EQ(close->payload.substr(0, 2), "\x03\xea");
  expectAlive();
}

TEST_F(Robustness, TextThatIsNotUtf8EndsTheConnectionWith1007) {
  RawClient client = open();
  client.sendText("\xff\xfe");
  const auto close = client.receive();
  ASSERT_TRUE(close);
  EXPECT_EQ(close->payload.substr(0, 2), "\x03\xef");
}

TEST_F(Robustness, GiantHeadIsRefused) {
  RawClient client(server.port());
  client.trySendBytes("GET / HTTP/1.1\r\nX-Long: " + std::string(100'000, 'x'));
  EXPECT_EQ(client.receiveRest().substr(0, 12), "HTTP/1.1 431");
  expectAlive();
}

TEST_F(Robustness, ABodyWhoseChunksNeverComeIsGivenUp) {
  const std::string head = "POST /control HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n";
  std::string trailer = head + "0\r\n";
  while (trailer.size() < 200'000) trailer += "a: b\r\n";
  for (const std::string& endless : {head + "1;" + std::string(200'000, 'x'), trailer}) {
    RawClient client(server.port());
    client.trySendBytes(endless);
    EXPECT_EQ(client.receiveUntil("\r\n").substr(0, 12), "HTTP/1.1 413");
  }
  expectAlive();
}

TEST_F(Robustness, HalfHandshakesDoNoHarm) {
  std::vector<RawClient> halves;
  for (int i = 0; i < 20; ++i) {
    halves.emplace_back(server.port());
    halves.back().sendBytes("GET / HTTP/1.1\r\nUpgrade: webso");
  }
  expectAlive();
  halves.clear();
  expectAlive();
  server.stop();
}

TEST_F(Robustness, HandshakeWithoutAKeyIsRefused) {
  RawClient client(server.port());
  client.sendBytes("GET / HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n\r\n");
  EXPECT_EQ(client.receiveRest().substr(0, 12), "HTTP/1.1 400");
  expectAlive();
}

TEST(Bounds, HandshakeThatTakesTooLongIsEnded) {
  DevServer::Options options;
  options.handshakeTimeout = 20ms;
  DevServer server(options);
  server.start();
  RawClient half(server.port());
  half.sendBytes("GET / HTTP/1.1\r\n");
  EXPECT_NE(half.waitForEnd(), RawClient::End::None);
}

TEST(Bounds, WebSocketsBeyondTheLimitAreRefused) {
  DevServer::Options options;
  options.maxConnections = 2;
  DevServer server(options);
  server.start();
  RawClient first = RawClient::open(server.port()), second = RawClient::open(server.port());
  for (RawClient* client : {&first, &second}) {
    client->sendText("PING");
    EXPECT_EQ(client->receiveText(), "PONG");
  }
  RawClient third(server.port());
  EXPECT_EQ(third.shakeHands().substr(0, 12), "HTTP/1.1 503");
  EXPECT_NE(third.waitForEnd(), RawClient::End::None);
  EXPECT_EQ(server.counters().turnedAway, 1u);
  EXPECT_EQ(server.connectionCount(), 2u);
}

TEST(Bounds, ClientThatDoesNotReadIsCut) {
  DevServer::Options options;
  options.maxQueuedBytes = 1u << 20;
  DevServer server(options);
  server.start();
  RawClient client(server.port(), false, 4096);
  ASSERT_NE(client.shakeHands().find("101"), std::string::npos);
  ASSERT_TRUE(server.waitUntil([&] { return server.connectionCount() == 1; }, kPatience));
  const std::string text(100'000, 'x');
  for (int i = 0; i < 1'000 && server.connectionCount() == 1; ++i) server.sendText(text);
  EXPECT_TRUE(server.waitUntil([&] { return server.connectionCount() == 0; }, kPatience));
  EXPECT_EQ(server.counters().slowReadersCut, 1u);
}

TEST_F(Robustness, StopsWithClientsConnectedInEveryStage) {
  RawClient bare(server.port()), half(server.port()), up = open(), waiting = open();
  half.sendBytes("GET / HT");
  server.faults().delayReplies(1h);
  waiting.sendText(RawClient::standardFrame("Dev.Echo", {}, "1"));
  ASSERT_TRUE(server.waitUntil([&] { return server.counters().requests == 1; }, kPatience));
  server.stop();
  for (RawClient* client : {&bare, &half, &up, &waiting}) {
    EXPECT_NE(client->waitForEnd(), RawClient::End::None);
  }
  EXPECT_EQ(server.connectionCount(), 0u);
  EXPECT_FALSE(server.running());
  server.stop();
  EXPECT_EQ(server.push("Rooms.Push.Message"), 0u);
}

TEST_F(Robustness, LeavesNoDescriptorToAProgramThatIsStarted) {
  const RawClient client = open();
  const auto inherited = inheritedDescriptors();
  server.stop();
  EXPECT_EQ(inherited, inheritedDescriptors()) << "it would keep the port, and the link";
}

TEST_F(Robustness, RestartsOnTheSamePortAgainAndAgain) {
  const std::uint16_t port = server.port();
  for (int i = 0; i < 5; ++i) {
    RawClient client = open();
    server.restart();
    EXPECT_EQ(server.port(), port);
    EXPECT_NE(client.waitForEnd(), RawClient::End::None);
    expectAlive();
  }
  EXPECT_EQ(server.url(), "ws://127.0.0.1:" + std::to_string(port));
}

TEST_F(Robustness, TakenPortIsAnErrorThatNamesIt) {
  DevServer::Options options;
  options.port = server.port();
  DevServer second(options);
  try {
    second.start();
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_NE(std::string(error.what()).find(std::to_string(server.port())), std::string::npos);
  }
  EXPECT_FALSE(second.running());
}

TEST_F(Robustness, CallsFromManyThreadsWhileItStopsAndStartsEnd) {
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      while (!done) {
        server.push("Rooms.Push.Message");
        server.state();
        server.faults().clear();
        server.receivedFrames();
      }
    });
  }
  for (int i = 0; i < 10; ++i) {
    RawClient client = open();
    server.restart();
  }
  done = true;
  for (std::thread& thread : threads) thread.join();
  expectAlive();
}

/// Writes a certificate for "localhost" and its key, made on the spot, into one file.
std::string makeCertificate() {
  const std::string file = std::string(std::getenv("HOME")) + "/certificate.pem";
  writePemFile(TlsIdentity("DNS:localhost", "localhost"), file);
  return file;
}

class OverTls : public ::testing::Test {
 protected:
  static DevServer::Options options() {
    DevServer::Options options;
    options.tlsCertificateFile = makeCertificate();
    return options;
  }
};

TEST_F(OverTls, EchoesPushesAndIsControlled) {
  DevServer server(options());
  server.start();
  EXPECT_EQ(server.url().substr(0, 6), "wss://");
  RawClient client = RawClient::open(server.port(), true);
  const auto reply = client.request("Dev.Echo", {{"text", std::string(200'000, 'x')}, {"n", 1}});
  EXPECT_EQ(reply.at("v").at("ret"), 0);
  EXPECT_EQ(server.push("System.Upload.Log"), 1u);
  EXPECT_EQ(client.receiveObject().at("C"), "System.Upload.Log");
  int status = 0;
  const std::string body = RawClient::http(server.port(), "GET", "/control", "", status, true);
  EXPECT_EQ(status, 200);
  EXPECT_EQ(json::parse(body).as_object().at("connections").as_array().size(), 1u);
  server.cut({.kind = devserver::Cut::Kind::Close});
  EXPECT_EQ(client.receive()->opcode, 8);
  server.stop();
}

TEST_F(OverTls, ServesThePageAndItsEvents) {
  DevServer server(options());
  server.start();
  EXPECT_EQ(server.pageUrl(), "https://127.0.0.1:" + std::to_string(server.port()) + "/");
  int status = 0;
  EXPECT_EQ(RawClient::http(server.port(), "GET", "/", "", status, true).substr(0, 15), "<!doctype html>");
  EXPECT_EQ(status, 200);
  const std::string host = "127.0.0.1:" + std::to_string(server.port());
  EventReader events(server.port(), "Origin: https://" + host + "\r\n", true);
  EXPECT_EQ(events.next().name, "hello");
  EventReader foreign(server.port(), "Origin: http://" + host + "\r\n", true);
  EXPECT_NE(foreign.head().find(" 403 "), std::string::npos);
}

TEST_F(OverTls, PlainAndBrokenClientsDoNoHarm) {
  DevServer server(options());
  server.start();
  RawClient plain(server.port());
  plain.trySendBytes("GET / HTTP/1.1\r\n\r\n");
  EXPECT_NE(plain.waitForEnd(), RawClient::End::None);
  RawClient client = RawClient::open(server.port(), true);
  server.cut({.kind = devserver::Cut::Kind::Reset});
  EXPECT_NE(client.waitForEnd(), RawClient::End::None);
  RawClient other = RawClient::open(server.port(), true);
  server.cut({.kind = devserver::Cut::Kind::Fin});
  EXPECT_NE(other.waitForEnd(), RawClient::End::None);
  RawClient stays = RawClient::open(server.port(), true);
  server.stop();
}

TEST_F(OverTls, MissingCertificateIsAnErrorThatNamesTheFile) {
  DevServer::Options options;
  options.tlsCertificateFile = "/nonexistent/certificate.pem";
  DevServer server(options);
  try {
    server.start();
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_NE(std::string(error.what()).find("/nonexistent/certificate.pem"), std::string::npos);
  }
}

}  // namespace
}  // namespace orv::test::robustness_test
