// Why there is no link, as the program tells it.

#include "Peers.h"
#include "Program.h"
#include <devserver/DevServer.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace orv::test::link_reason_test {
namespace {

struct Why {
  std::string reason, message;
};

Why whyNot(const std::string& url) {
  const Result result = runOrv({"--server", url, "--wait", "1", "call", "Dev.Echo"});
  EXPECT_EQ(result.exitCode, 3) << result.out;
  const auto answer = result.json();
  if (!answer.contains("reason")) return {"", result.out};
  return {std::string(answer.at("reason").as_string()), std::string(answer.at("message").as_string())};
}

Why whyNotOverTls(const std::string& certificate, const std::string& trusted) {
  DevServer::Options options;
  options.tlsCertificateFile = certificate;
  DevServer server(options);
  server.start();
  ::setenv("SSL_CERT_FILE", trusted.c_str(), 1);
  return whyNot(server.url());
}

TEST(LinkReason, NameThatIsNotFound) {
  const Why why =
      whyNot("ws://" + std::string(70, 'a') + ".invalid");  // nobody is asked: a label is too long
  EXPECT_EQ(why.reason, "nameNotFound") << why.message;
  EXPECT_NE(why.message.find("within 1 s: the name of the server is not found: "), std::string::npos)
      << why.message;
}

TEST(LinkReason, HttpStatusThatTheServerAnsweredWith) {
  DevServer server;
  server.start();
  server.faults().setConnectionMode(devserver::ConnectionMode::Reject, 503);
  const Why why = whyNot(server.url());
  EXPECT_EQ(why.reason, "refusedByHttp");
  EXPECT_NE(why.message.find("HTTP status 503"), std::string::npos) << why.message;
}

TEST(LinkReason, ServerThatIsSilent) {
  const SilentServer server;
  const Why why = whyNot(server.url());
  EXPECT_EQ(why.reason, "noAnswer");
  EXPECT_NE(why.message.find("the server does not answer"), std::string::npos) << why.message;
}

TEST(LinkReason, CertificateThatHasExpired) {
  const std::string file = makeCertificate("expired", "IP:127.0.0.1", -3, -1);
  const Why why = whyNotOverTls(file, file);
  EXPECT_EQ(why.reason, "certificateExpired");
  EXPECT_NE(why.message.find("the certificate of the server has expired"), std::string::npos) << why.message;
}

TEST(LinkReason, CertificateOfAnotherHost) {
  const std::string file = makeCertificate("other", "DNS:classroom.example", -1, 1);
  const Why why = whyNotOverTls(file, file);
  EXPECT_EQ(why.reason, "certificateOfAnother");
  EXPECT_NE(why.message.find("is for another host"), std::string::npos) << why.message;
}

TEST(LinkReason, CertificateThatNobodyHereTrusts) {
  const std::string file = makeCertificate("unknown", "IP:127.0.0.1", -1, 1);
  const Why why = whyNotOverTls(file, makeCertificate("trusted", "IP:127.0.0.1", -1, 1));
  EXPECT_EQ(why.reason, "certificateNotTrusted");
  EXPECT_NE(why.message.find("is not trusted: "), std::string::npos) << why.message;
}

TEST(LinkReason, ServerWithoutTls) {
  DevServer server;
  server.start();
  const Why why = whyNot("wss" + server.url().substr(2));
  EXPECT_EQ(why.reason, "tlsFailed") << why.message;
}

TEST(LinkReason, ServerThatClosesTheLinkEachTime) {
  DevServer server;
  server.start();
  server.faults().cutAfterBytes(20, 100);
  EXPECT_EQ(whyNot(server.url()).reason, "closedByServer");
}

TEST(LinkReason, IsToldOnStandardErrorToThoseWhoAskMuch) {
  const Result result = runOrv({"--server", "ws://127.0.0.1:1", "--wait", "0.3", "invoke", "--batch"}, "");
  EXPECT_NE(result.err.find("orv: no link to ws://127.0.0.1:1 within 0.3 s: the connection was refused\n"),
            std::string::npos)
      << result.err;
}

}  // namespace
}  // namespace orv::test::link_reason_test
