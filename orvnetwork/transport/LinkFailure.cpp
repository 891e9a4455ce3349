#include "orvnetwork/transport/LinkFailure.h"

#include <orvnetwork/platform/WebSocketError.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string>
#include <string_view>

namespace orv {

namespace {

// Results of the verifier of certificates.
constexpr std::int64_t kExpired = 10, kOtherHost = 62, kOtherAddress = 64, kLastOfVerifier = 99;
// Reasons of the TLS library: what servers say about certificates of clients.
constexpr std::int64_t kCertificateRequired = 1116;
constexpr std::int64_t kRefusalsOfCertificates[] = {1042, 1043, 1044, 1045, 1046, 1048, 1049};

LinkTrouble troubleOfSystem(std::int64_t code) {
  switch (code) {
    case ECONNREFUSED:
      return LinkTrouble::Refused;
    case ENETUNREACH:
    case EHOSTUNREACH:
    case ENETDOWN:
    case EHOSTDOWN:
    case EADDRNOTAVAIL:
      return LinkTrouble::Unreachable;
    case ETIMEDOUT:
      return LinkTrouble::NoAnswer;
    default:
      return LinkTrouble::Lost;
  }
}

bool isAboutClientCertificate(std::int64_t code) {
  return code == kCertificateRequired ||
         std::find(std::begin(kRefusalsOfCertificates), std::end(kRefusalsOfCertificates), code) !=
             std::end(kRefusalsOfCertificates);
}

LinkTrouble troubleOfTls(std::int64_t code) {
  if (code == websocket_error::kPinMismatch) return LinkTrouble::CertificateNotPinned;
  if (code == websocket_error::kBadTlsSettings) return LinkTrouble::BadTlsSettings;
  if (isAboutClientCertificate(code)) return LinkTrouble::ClientCertificateWanted;
  if (code == kExpired) return LinkTrouble::CertificateExpired;
  if (code == kOtherHost || code == kOtherAddress) return LinkTrouble::CertificateOfAnother;
  // The reasons of the TLS library itself begin above those of its verifier.
  return code > 0 && code <= kLastOfVerifier ? LinkTrouble::CertificateNotTrusted : LinkTrouble::TlsFailed;
}

LinkTrouble troubleOfSocket(std::int64_t code) {
  switch (code) {
    case websocket_error::kBadUrl:
      return LinkTrouble::BadAddress;
    case websocket_error::kTimedOut:
      return LinkTrouble::NoAnswer;
    case websocket_error::kRefusedByServer:
      return LinkTrouble::RefusedByHttp;
    case websocket_error::kBadHandshake:
      return LinkTrouble::NoWebSocket;
    default:
      return LinkTrouble::Lost;
  }
}

LinkTrouble troubleOfProxy(std::int64_t code) {
  switch (code) {
    case websocket_error::kBadProxy:
    case websocket_error::kProxyNotUnderstood:
      return LinkTrouble::BadProxy;
    case websocket_error::kProxyUnreachable:
      return LinkTrouble::ProxyUnreachable;
    case websocket_error::kProxyRefusesUser:
      return LinkTrouble::ProxyRefusesUser;
    default:
      return LinkTrouble::ProxyRefused;
  }
}

LinkTrouble troubleOf(const Error& error) {
  if (error.domain == websocket_error::kSystemDomain) return troubleOfSystem(error.code);
  if (error.domain == websocket_error::kTlsDomain) return troubleOfTls(error.code);
  if (error.domain == websocket_error::kNameLookupDomain) return LinkTrouble::NameNotFound;
  if (error.domain == websocket_error::kProxyDomain) return troubleOfProxy(error.code);
  return error.domain == websocket_error::kDomain ? troubleOfSocket(error.code) : LinkTrouble::Lost;
}

/// What is said of a trouble in front of the socket's own words; nothing where those say it all.
std::string_view wordsFor(LinkTrouble trouble) {
  switch (trouble) {
    case LinkTrouble::NameNotFound:
      return "the name of the server is not found";
    case LinkTrouble::Refused:
      return "the connection was refused";
    case LinkTrouble::Unreachable:
      return "there is no way to the server";
    case LinkTrouble::NoAnswer:
      return "the server does not answer";
    case LinkTrouble::CertificateExpired:
      return "the certificate of the server has expired";
    case LinkTrouble::CertificateOfAnother:
      return "the certificate of the server is for another host";
    case LinkTrouble::CertificateNotTrusted:
      return "the certificate of the server is not trusted";
    case LinkTrouble::TlsFailed:
      return "TLS failed";
    default:
      return {};
  }
}

/// What the socket's own words tell beyond ours; they may be empty.
std::string_view moreThanWordsFor(LinkTrouble trouble, std::string_view description) {
  constexpr std::string_view kMark = ": ";
  switch (trouble) {
    case LinkTrouble::NameNotFound:
    case LinkTrouble::Unreachable:
    case LinkTrouble::CertificateNotTrusted:
    case LinkTrouble::TlsFailed:
      return description;
    case LinkTrouble::CertificateExpired:
    case LinkTrouble::CertificateOfAnother: {
      // In front of the colon the verifier says what ours have said.
      const std::size_t at = description.find(kMark);
      return at == std::string_view::npos ? std::string_view() : description.substr(at + kMark.size());
    }
    default:
      return {};
  }
}

}  // namespace

std::string_view nameOf(LinkTrouble trouble) {
  switch (trouble) {
    case LinkTrouble::NoNetwork:
      return "noNetwork";
    case LinkTrouble::BadAddress:
      return "badAddress";
    case LinkTrouble::NameNotFound:
      return "nameNotFound";
    case LinkTrouble::Refused:
      return "refused";
    case LinkTrouble::Unreachable:
      return "unreachable";
    case LinkTrouble::NoAnswer:
      return "noAnswer";
    case LinkTrouble::CertificateExpired:
      return "certificateExpired";
    case LinkTrouble::CertificateOfAnother:
      return "certificateOfAnother";
    case LinkTrouble::CertificateNotTrusted:
      return "certificateNotTrusted";
    case LinkTrouble::TlsFailed:
      return "tlsFailed";
    case LinkTrouble::RefusedByHttp:
      return "refusedByHttp";
    case LinkTrouble::NoWebSocket:
      return "noWebSocket";
    case LinkTrouble::Unconfirmed:
      return "unconfirmed";
    case LinkTrouble::ClosedByServer:
      return "closedByServer";
    case LinkTrouble::CertificateNotPinned:
      return "certificateNotPinned";
    case LinkTrouble::ClientCertificateWanted:
      return "clientCertificateWanted";
    case LinkTrouble::BadTlsSettings:
      return "badTlsSettings";
    case LinkTrouble::BadProxy:
      return "badProxy";
    case LinkTrouble::ProxyUnreachable:
      return "proxyUnreachable";
    case LinkTrouble::ProxyRefusesUser:
      return "proxyRefusesUser";
    case LinkTrouble::ProxyRefused:
      return "proxyRefused";
    case LinkTrouble::Lost:
      break;
  }
  return "lost";
}

LinkFailure linkFailureOf(const Error& error) {
  LinkFailure failure{troubleOf(error), {}, error};
  failure.text = wordsFor(failure.trouble);
  if (failure.text.empty()) {
    failure.text = error.description;
  } else if (const auto more = moreThanWordsFor(failure.trouble, error.description); !more.empty()) {
    failure.text.append(": ").append(more);
  }
  return failure;
}

LinkFailure linkFailureOfClose(int code, const OptionalString& reason, bool wasClean) {
  if (!wasClean) return {LinkTrouble::ClosedByServer, "the server ended the connection", {}};
  std::string text = "the server closed the link, code " + std::to_string(code);
  if (reason && !reason->empty()) text += ": " + *reason;
  return {LinkTrouble::ClosedByServer, std::move(text), {}};
}

}  // namespace orv
