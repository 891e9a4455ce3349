#include "orvnetwork/platform/native/tls/CertificateFacts.h"

#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/platform/native/tls/KeyPin.h>

#include <arpa/inet.h>
#include <openssl/bio.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

namespace {

constexpr std::size_t kLongestSubject = 300;
constexpr std::size_t kLongestHostName = 255;
constexpr int kMostHostNames = 100;

bool isUnfitToShow(char32_t code) {
  return code < 0x20 || (code >= 0x7F && code <= 0x9F) || code == 0x061C || code == 0x200E ||
         code == 0x200F || (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

std::string subjectText(const X509_NAME* name) {
  const std::unique_ptr<BIO, int (*)(BIO*)> out(BIO_new(BIO_s_mem()), &BIO_free);
  constexpr unsigned long kForm = XN_FLAG_SEP_CPLUS_SPC | XN_FLAG_FN_SN | ASN1_STRFLGS_UTF8_CONVERT |
                                  ASN1_STRFLGS_ESC_2253 | ASN1_STRFLGS_DUMP_UNKNOWN | ASN1_STRFLGS_DUMP_DER;
  if (out == nullptr || X509_NAME_print_ex(out.get(), name, 0, kForm) < 0) return {};
  char* bytes = nullptr;
  const long size = BIO_get_mem_data(out.get(), &bytes);
  return size > 0 ? shownPeerText({bytes, static_cast<std::size_t>(size)}, kLongestSubject) : std::string();
}

std::string_view bytesOf(const ASN1_STRING* string) {
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(string)),
          static_cast<std::size_t>(ASN1_STRING_length(string))};
}

/// An address as a person writes it; empty for bytes that are none.
std::string addressText(std::string_view bytes) {
  char text[INET6_ADDRSTRLEN] = "";
  if (bytes.size() == 4) inet_ntop(AF_INET, bytes.data(), text, sizeof text);
  if (bytes.size() == 16) inet_ntop(AF_INET6, bytes.data(), text, sizeof text);
  return text;
}

std::string hostNameText(const GENERAL_NAME* name) {
  if (name->type == GEN_DNS) return shownPeerText(bytesOf(name->d.dNSName), kLongestHostName);
  return name->type == GEN_IPADD ? addressText(bytesOf(name->d.iPAddress)) : std::string();
}

std::vector<std::string> hostNamesOf(const X509* certificate) {
  const std::unique_ptr<GENERAL_NAMES, void (*)(GENERAL_NAMES*)> all(
      static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)),
      &GENERAL_NAMES_free);
  std::vector<std::string> names;
  const int count = all != nullptr ? std::min(sk_GENERAL_NAME_num(all.get()), kMostHostNames) : 0;
  for (int i = 0; i < count; ++i) {
    std::string name = hostNameText(sk_GENERAL_NAME_value(all.get(), i));
    if (!name.empty()) names.push_back(std::move(name));
  }
  return names;
}

}  // namespace

std::string shownPeerText(std::string_view text, std::size_t most) {
  const std::string repaired = repairedUtf8(utf8Front(text, most));
  std::string shown;
  for (std::string_view rest = repaired; !rest.empty();) {
    const std::size_t length = utf8SequenceLength(rest);
    if (isUnfitToShow(utf8CodePoint(rest, length))) {
      shown += '?';
    } else {
      shown += rest.substr(0, length);
    }
    rest.remove_prefix(length);
  }
  shown.resize(utf8Front(shown, most).size());
  return shown;
}

WallTime timeOf(const ASN1_TIME* time) {
  std::tm parts{};
  if (ASN1_TIME_to_tm(time, &parts) != 1) return {};
  using std::chrono::seconds;
  const auto first = std::chrono::ceil<seconds>(WallTime::min()).time_since_epoch();
  const auto last = std::chrono::floor<seconds>(WallTime::max()).time_since_epoch();
  return WallTime(std::clamp(seconds(::timegm(&parts)), first, last));
}

CertificateSummary summaryOf(const X509* certificate) {
  CertificateSummary summary;
  summary.subject = subjectText(X509_get_subject_name(certificate));
  summary.issuer = subjectText(X509_get_issuer_name(certificate));
  summary.names = hostNamesOf(certificate);
  summary.notBefore = timeOf(X509_get0_notBefore(certificate));
  summary.notAfter = timeOf(X509_get0_notAfter(certificate));
  summary.pin = keyPin(certificate);
  return summary;
}

}  // namespace orv
