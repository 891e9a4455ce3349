#include "orvnetwork/platform/native/tls/TlsContext.h"

#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/platform/native/system/OpenSslInit.h>
#include <orvnetwork/platform/native/tls/KeyPin.h>
#include <orvnetwork/platform/native/tls/PemReading.h>

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv {

namespace {

std::uint64_t nextContextNumber() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

/// Every step answers with what is wrong, or with nothing.
using Problem = std::optional<Error>;

Problem trustRoots(SSL_CTX* context, const std::string& text, const std::string& where) {
  auto roots = readCertificates(text, where);
  if (!roots) return roots.error();
  X509_STORE* const store = SSL_CTX_get_cert_store(context);
  for (const auto& root : *roots) {
    if (X509_STORE_add_cert(store, root.get()) != 1) return badTlsSettings(where + ": " + lastTlsWords());
  }
  return std::nullopt;
}

Problem trustAllRoots(SSL_CTX* context, const TlsSettings& settings) {
  if (settings.usesSystemRoots) SSL_CTX_set_default_verify_paths(context);
  if (!settings.usesSystemRoots && settings.rootFiles.empty() && settings.rootTexts.empty()) {
    return badTlsSettings("no root certificates: neither the system's count, nor are there others");
  }
  constexpr const char* kWhat = "root certificates";
  for (const std::string& path : settings.rootFiles) {
    const auto text = readPemFile(path, kWhat);
    if (!text) return text.error();
    if (auto problem = trustRoots(context, *text, std::string(kWhat) + " " + path)) return problem;
  }
  for (std::size_t i = 0; i < settings.rootTexts.size(); ++i) {
    const std::string where = "text " + std::to_string(i + 1) + " of root certificates";
    if (auto problem = trustRoots(context, settings.rootTexts[i], where)) return problem;
  }
  return std::nullopt;
}

Problem showCertificate(SSL_CTX* context, const std::string& text, const std::string& path) {
  auto chain = readCertificates(text, "client certificate " + path);
  if (!chain) return chain.error();
  ERR_clear_error();
  bool done = SSL_CTX_use_certificate(context, chain->front().get()) == 1;
  for (std::size_t i = 1; done && i < chain->size(); ++i) {
    done = SSL_CTX_add1_chain_cert(context, (*chain)[i].get()) == 1;
  }
  if (!done) return badTlsSettings("client certificate " + path + " cannot be used: " + lastTlsWords());
  return std::nullopt;
}

Problem showIdentity(SSL_CTX* context, const TlsSettings& settings) {
  if (!settings.certificateFile && settings.keyFile) {
    return badTlsSettings("client key " + *settings.keyFile + " without a client certificate");
  }
  if (!settings.certificateFile) return std::nullopt;
  const std::string& certificatePath = *settings.certificateFile;
  const std::string& keyPath = settings.keyFile.value_or(certificatePath);
  const auto certificate = readPemFile(certificatePath, "client certificate");
  if (!certificate) return certificate.error();
  if (auto problem = showCertificate(context, *certificate, certificatePath)) return problem;
  const auto keyText = readPemFile(keyPath, "client key");
  if (!keyText) return keyText.error();
  const auto key = readPrivateKey(*keyText, "client key " + keyPath);
  if (!key) return key.error();
  ERR_clear_error();
  if (SSL_CTX_use_PrivateKey(context, key->get()) == 1) return std::nullopt;
  return badTlsSettings("client key " + keyPath + " does not go with the client certificate " +
                        certificatePath + ": " + lastTlsWords());
}

Result<std::vector<std::string>> readPins(const std::vector<std::string>& texts) {
  constexpr std::size_t kShown = 80;
  std::vector<std::string> pins;
  for (const std::string& text : texts) {
    auto pin = readPin(text);
    if (!pin) {
      return badTlsSettings("the pin \"" + std::string(utf8Front(text, kShown)) +
                            "\" is not the SHA-256 of a key in base64");
    }
    pins.push_back(*std::move(pin));
  }
  return pins;
}

}  // namespace

TlsContext::TlsContext(OpenSslOwned<SSL_CTX> native, const TlsSettings& settings)
    : native_(std::move(native)),
      number_(nextContextNumber()),
      lowestVersion_(settings.lowestVersion),
      hasCertificate_(settings.certificateFile.has_value()) {}

Result<std::shared_ptr<const TlsContext>> TlsContext::make(const TlsSettings& settings) {
  initOpenSsl();
  auto pins = readPins(settings.pins);
  if (!pins) return pins.error();
  OpenSslOwned<SSL_CTX> owned(SSL_CTX_new(TLS_client_method()));
  SSL_CTX* const context = owned.get();
  if (context == nullptr) return badTlsSettings("there is no memory for TLS");
  SSL_CTX_set_min_proto_version(
      context, settings.lowestVersion == TlsVersion::Tls13 ? TLS1_3_VERSION : TLS1_2_VERSION);
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
  // Tickets are kept elsewhere, under all that was checked.
  SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL);
  if (auto problem = trustAllRoots(context, settings)) return *std::move(problem);
  if (auto problem = showIdentity(context, settings)) return *std::move(problem);
  ERR_clear_error();
  std::shared_ptr<TlsContext> made(new TlsContext(std::move(owned), settings));
  made->pins_ = *std::move(pins);
  return std::shared_ptr<const TlsContext>(std::move(made));
}

}  // namespace orv
