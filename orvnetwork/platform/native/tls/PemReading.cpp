#include "orvnetwork/platform/native/tls/PemReading.h"

#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv {

namespace {

constexpr std::size_t kLargestPemFile = std::size_t{4} << 20;

using OwnedBio = std::unique_ptr<BIO, int (*)(BIO*)>;

OwnedBio bioOf(const std::string& text) {
  return {BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), &BIO_free};
}

/// Fills `bytes`, up to the bound and one byte more; the error number of what failed, else 0.
int readPemBytes(const FileDescriptor& file, std::string& bytes) {
  std::size_t size = 0;
  bytes.resize(kLargestPemFile + 1);
  while (size < bytes.size()) {
    const ssize_t count =
        retryOnSignal([&] { return ::read(file.get(), bytes.data() + size, bytes.size() - size); });
    if (count < 0) return errno;
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  bytes.resize(size);
  return 0;
}

/// Nobody is asked, and least of all on the terminal of the host.
int noPassword(char*, int, int, void*) {
  return -1;
}

/// Whether reading has stopped because there is nothing more of the kind; then that is no error any more.
bool takeEndOfPem() {
  const unsigned long error = ERR_peek_last_error();
  if (ERR_GET_LIB(error) != ERR_LIB_PEM || ERR_GET_REASON(error) != PEM_R_NO_START_LINE) return false;
  ERR_clear_error();
  return true;
}

}  // namespace

Error badTlsSettings(std::string description) {
  return {websocket_error::kTlsDomain, websocket_error::kBadTlsSettings, std::move(description)};
}

std::string lastTlsWords() {
  const unsigned long error = ERR_peek_last_error();
  ERR_clear_error();
  const char* const words = ERR_reason_error_string(error);
  return words != nullptr ? words : "error " + std::to_string(error);
}

Result<std::string> readPemFile(const std::string& path, std::string_view what) {
  const auto failure = [&](const std::string& why) {
    return badTlsSettings(std::string(what) + " " + path + " cannot be read: " + why);
  };
  const auto words = [](int error) { return std::generic_category().message(error); };
  // A pipe without a writer would keep a plain open waiting.
  const FileDescriptor file = FileDescriptor::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (!file) return failure(words(errno));
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return failure(words(errno));
  if (!S_ISREG(status.st_mode)) return failure("not a plain file");
  std::string bytes;
  if (const int error = readPemBytes(file, bytes); error != 0) return failure(words(error));
  if (bytes.size() > kLargestPemFile) return failure("larger than 4 MiB");
  return bytes;
}

Result<std::vector<OpenSslOwned<X509>>> readCertificates(const std::string& text, const std::string& where) {
  std::vector<OpenSslOwned<X509>> certificates;
  const OwnedBio in = bioOf(text);
  ERR_clear_error();
  while (X509* const certificate = PEM_read_bio_X509(in.get(), nullptr, &noPassword, nullptr)) {
    certificates.emplace_back(certificate);
  }
  if (!takeEndOfPem()) {
    return badTlsSettings(where + ": certificate " + std::to_string(certificates.size() + 1) +
                          " cannot be read: " + lastTlsWords());
  }
  if (certificates.empty()) return badTlsSettings(where + " holds no certificate in PEM");
  return certificates;
}

Result<OpenSslOwned<EVP_PKEY>> readPrivateKey(const std::string& text, const std::string& where) {
  if (text.find("PRIVATE KEY-----") == std::string::npos) {
    return badTlsSettings(where + " holds no private key in PEM");
  }
  const OwnedBio in = bioOf(text);
  ERR_clear_error();
  OpenSslOwned<EVP_PKEY> key(PEM_read_bio_PrivateKey(in.get(), nullptr, &noPassword, nullptr));
  if (key != nullptr) return key;
  const bool isEncrypted = text.find("BEGIN ENCRYPTED") != std::string::npos ||
                           text.find("Proc-Type: 4,ENCRYPTED") != std::string::npos;
  return badTlsSettings(
      where + ": the private key " +
      (isEncrypted ? "is encrypted, and no password can be given" : "cannot be read: " + lastTlsWords()));
}

}  // namespace orv
