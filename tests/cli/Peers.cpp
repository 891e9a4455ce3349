#include "Peers.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace orv::test {

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

SilentServer::SilentServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  EXPECT_EQ(::bind(listener_, reinterpret_cast<sockaddr*>(&address), size), 0);
  EXPECT_EQ(::listen(listener_, 8), 0);
  EXPECT_EQ(::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size), 0);
  url_ = "ws://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

SilentServer::~SilentServer() {
  ::close(listener_);
}

AnsweringServer::AnsweringServer(std::string answer)
    : answer_(std::move(answer)), thread_([this] { serve(); }) {}

AnsweringServer::~AnsweringServer() {
  ::shutdown(listener_, SHUT_RDWR);
  thread_.join();
}

void AnsweringServer::serve() {
  for (int client = 0; (client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;
       ::close(client)) {
    std::string request;
    std::array<char, 1024> bytes{};
    while (request.find("\r\n\r\n") == std::string::npos) {
      const ssize_t size = ::recv(client, bytes.data(), bytes.size(), 0);
      if (size <= 0) break;
      request.append(bytes.data(), static_cast<std::size_t>(size));
    }
    ::send(client, answer_.data(), answer_.size(), MSG_NOSIGNAL);
  }
}

}  // namespace orv::test
