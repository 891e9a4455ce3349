#include "orvnetwork/platform/native/tls/ChainCheck.h"

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/platform/native/tls/CertificateFacts.h>
#include <orvnetwork/platform/native/tls/CertificateRefusal.h>
#include <orvnetwork/platform/native/tls/SessionFacts.h>

#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace orv {

namespace {

/// Of a longer chain the first are told.
constexpr int kMostToldCertificates = 16;

std::vector<CertificateSummary> summariesOf(const STACK_OF(X509) * certificates) {
  std::vector<CertificateSummary> summaries;
  const int count = std::min(sk_X509_num(certificates), kMostToldCertificates);
  for (int i = 0; i < count; ++i) summaries.push_back(summaryOf(sk_X509_value(certificates, i)));
  return summaries;
}

std::string keyText(const X509* certificate) {
  const EVP_PKEY* const key = X509_get0_pubkey(certificate);
  if (key == nullptr) return "an unknown kind";
  const char* const kind = EVP_PKEY_get0_type_name(key);
  return std::string(kind != nullptr ? kind : "unknown kind") + ", " +
         std::to_string(EVP_PKEY_get_bits(key)) + " bits";
}

Error refusalBy(X509_STORE_CTX* verifier) {
  CertificateRefusal refusal;
  refusal.code = X509_STORE_CTX_get_error(verifier);
  refusal.words = X509_verify_cert_error_string(refusal.code);
  refusal.isServers = X509_STORE_CTX_get_error_depth(verifier) <= 0;
  const X509* certificate = X509_STORE_CTX_get_current_cert(verifier);
  if (certificate == nullptr) certificate = X509_STORE_CTX_get0_cert(verifier);
  if (certificate != nullptr) {
    refusal.certificate = summaryOf(certificate);
    refusal.key = keyText(certificate);
    refusal.signature = OBJ_nid2ln(X509_get_signature_nid(certificate));
  }
  refusal.now = std::chrono::system_clock::now();
  return {websocket_error::kTlsDomain, refusal.code, refusalText(refusal)};
}

/// Against the chain that leads to a trusted root, and nothing else that the server has sent beside it.
std::optional<Error> pinMismatch(const TlsContext& context, const std::vector<CertificateSummary>& verified) {
  const auto& pins = context.pins();
  const bool matches =
      pins.empty() || std::any_of(verified.begin(), verified.end(), [&](const CertificateSummary& one) {
        return std::find(pins.begin(), pins.end(), one.pin) != pins.end();
      });
  if (matches) return std::nullopt;
  return Error{websocket_error::kTlsDomain, websocket_error::kPinMismatch, pinMismatchText(pins, verified)};
}

int checkChainOf(SessionFacts& facts, X509_STORE_CTX* verifier) {
  const int verdict = X509_verify_cert(verifier);
  if (const auto* const sent = X509_STORE_CTX_get0_untrusted(verifier)) facts.chain = summariesOf(sent);
  if (verdict <= 0) {
    facts.refusal = refusalBy(verifier);
    return verdict;
  }
  const std::vector<CertificateSummary> verified = summariesOf(X509_STORE_CTX_get0_chain(verifier));
  facts.refusal = pinMismatch(*facts.context, verified);
  if (facts.refusal) {
    X509_STORE_CTX_set_error(verifier, X509_V_ERR_APPLICATION_VERIFICATION);
    return 0;
  }
  facts.verifiedAt = std::chrono::system_clock::now();
  facts.chainEnds = WallTime::max();
  for (const auto& one : verified) facts.chainEnds = std::min(facts.chainEnds, one.notAfter);
  return verdict;
}

}  // namespace

int checkChain(X509_STORE_CTX* verifier, void*) {
  const void* const session = X509_STORE_CTX_get_ex_data(verifier, SSL_get_ex_data_X509_STORE_CTX_idx());
  try {
    return checkChainOf(factsOf(static_cast<const SSL*>(session)), verifier);
  } catch (const std::exception&) {
    X509_STORE_CTX_set_error(verifier, X509_V_ERR_OUT_OF_MEM);
    return 0;
  }
}

}  // namespace orv
