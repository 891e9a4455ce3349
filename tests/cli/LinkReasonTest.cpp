// Why there is no link, as the program tells it.

#include "Program.h"
#include <devserver/DevServer.h>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace orv::test {
namespace {

/// Writes a certificate that signs itself, and its key, into one file. `names` are its alternative names, and its days
/// are counted from now.
std::string makeCertificate(const std::string& name, const char* names, long fromDay, long toDay) {
  constexpr long kDay = 24 * 3600;
  const std::string file = std::string(std::getenv("HOME")) + "/" + name + ".pem";
  EVP_PKEY* key = EVP_EC_gen("P-256");
  X509* certificate = X509_new();
  X509_set_version(certificate, 2);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate), fromDay * kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate), toDay * kDay);
  X509_set_pubkey(certificate, key);
  X509_NAME* subject = X509_get_subject_name(certificate);
  X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
  X509_set_issuer_name(certificate, subject);
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, names);
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
  X509_sign(certificate, key, EVP_sha256());
  std::FILE* out = std::fopen(file.c_str(), "w");
  PEM_write_X509(out, certificate);
  PEM_write_PrivateKey(out, key, nullptr, nullptr, 0, nullptr, nullptr);
  std::fclose(out);
  X509_free(certificate);
  EVP_PKEY_free(key);
  return file;
}

/// Takes connections and never says a word.
class SilentServer {
 public:
  SilentServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(listener_, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(::listen(listener_, 8), 0);
    EXPECT_EQ(::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size), 0);
    url_ = "ws://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  }
  ~SilentServer() { ::close(listener_); }
  const std::string& url() const { return url_; }

 private:
  int listener_;
  std::string url_;
};

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
}  // namespace orv::test
