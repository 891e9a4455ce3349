// What the server's side of the way says of itself: TLS, the answer to the upgrade, its clock.

#include <orvnetwork/platform/ThisMachine.h>
#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/transport/LinkFailure.h>

#include "cli/doctor/WayVerdicts.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

namespace orv::cli::doctor {

namespace {

constexpr std::int64_t kFewDays = 14;

// The verifier's results.
constexpr int kNotYetValid = 9, kExpired = 10, kSelfSigned = 18, kSelfSignedInChain = 19, kNoIssuer = 20,
              kNoIssuerOfFirst = 21, kHostMismatch = 62, kAddressMismatch = 64, kWeakKey = 66,
              kWeakDigest = 68;

std::string dayText(WallTime time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::system_clock::duration>(time));
  std::tm utc{};
  ::gmtime_r(&seconds, &utc);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%d", &utc);
  return text.data();
}

std::int64_t daysUntil(WallTime end, WallTime now) {
  constexpr double kDay = 24 * 3600;
  return static_cast<std::int64_t>(std::floor(Seconds(end - now).count() / kDay));
}

std::string joined(const std::vector<std::string>& names) {
  constexpr std::size_t kMost = 5;
  std::string list;
  for (std::size_t i = 0; i < names.size() && i < kMost; ++i) list += (i > 0 ? ", " : "") + names[i];
  if (names.size() > kMost) list += " and " + std::to_string(names.size() - kMost) + " more";
  return list.empty() ? "nobody" : list;
}

json::object tlsFacts(const WayFacts& facts) {
  json::object shown;
  if (facts.report.tlsVersion) shown.emplace("version", *facts.report.tlsVersion);
  if (facts.report.tlsCipher) shown.emplace("cipher", *facts.report.tlsCipher);
  json::array chain;
  for (const CertificateSummary& certificate : facts.report.chain) {
    json::array names;
    for (const std::string& name : certificate.names) names.emplace_back(name);
    chain.push_back(json::object{{"subject", certificate.subject},
                                 {"issuer", certificate.issuer},
                                 {"names", std::move(names)},
                                 {"from", dayText(certificate.notBefore)},
                                 {"to", dayText(certificate.notAfter)},
                                 {"pin", certificate.pin}});
  }
  shown.emplace("chain", std::move(chain));
  return shown;
}

/// A certificate of the chain is out of date; which one, the server's own or one behind it, is seen by the dates.
Finding outOfDate(const WayFacts& facts, const CertificateSummary& leaf) {
  const std::string now = dayText(facts.now);
  const bool isExpired = facts.error->code == kExpired;
  const bool isLeafs = isExpired ? leaf.notAfter <= facts.now : leaf.notBefore > facts.now;
  if (!isLeafs) {
    return failed("tls", isExpired ? "expired" : "notYetValid",
                  "a certificate behind the server's own is out of date: " + facts.error->description,
                  "check this machine's clock; else the server needs other certificates");
  }
  if (isExpired) {
    return failed("tls", "expired",
                  "the certificate has expired on " + dayText(leaf.notAfter) + "; this clock says " + now,
                  "check this machine's clock; else the server needs a new certificate");
  }
  return failed("tls", "notYetValid",
                "the certificate counts from " + dayText(leaf.notBefore) + " on; this clock says " + now,
                "check this machine's clock");
}

Finding failedCertificate(const WayFacts& facts) {
  const CertificateSummary leaf =
      facts.report.chain.empty() ? CertificateSummary{} : facts.report.chain.front();
  const std::string issuer = leaf.issuer.empty() ? "somebody" : "\"" + leaf.issuer + "\"";
  switch (facts.error->code) {
    case kExpired:
    case kNotYetValid:
      return outOfDate(facts, leaf);
    case kSelfSigned:
    case kSelfSignedInChain:
    case kNoIssuer:
    case kNoIssuerOfFirst:
      return failed("tls", "unknownIssuer",
                    "issued by " + issuer +
                        ", whom this machine does not trust: something on the way intercepts TLS, "
                        "or the server leaves out a certificate between",
                    "if the issuer is your office or school, give its root: --root FILE");
    case kHostMismatch:
    case kAddressMismatch:
      return failed("tls", "wrongName",
                    "the certificate is not for " + facts.url.server.host + " but for " + joined(leaf.names),
                    "check the server's name; a sign-in page of the network does this, too");
    case kWeakKey:
    case kWeakDigest:
      return failed("tls", "weak", "the certificate is too weak: " + facts.error->description,
                    "the server needs a new certificate");
    case websocket_error::kPinMismatch:
      return failed(
          "tls", "pinMismatch", "another key than the one that is expected: " + facts.error->description,
          "somebody may be in between; else the server has a new key, whose pin belongs into the settings");
    case websocket_error::kBadTlsSettings:
      return failed("tls", "badSettings", facts.error->description, "check the files that the settings name");
    default:
      if (linkFailureOf(*facts.error).trouble == LinkTrouble::ClientCertificateWanted) {
        return failed("tls", "clientCertificate",
                      "the server wants a certificate of this client, or another one",
                      "ask those who run the server for one");
      }
      return failed("tls", "failed", "no agreement on TLS: " + facts.error->description,
                    "check the port: something else than TLS may be spoken there");
  }
}

/// "Server: nginx", a line each.
json::array headerLines(const ConnectReport& report) {
  json::array lines;
  for (const AnswerHeader& header : report.answerHeaders) {
    lines.emplace_back(header.name + ": " + header.value);
  }
  return lines;
}

/// Where the answer leads: " (http://portal.example/)"; "" where it does not say so.
std::string placeText(const ConnectReport& report) {
  const auto location = std::ranges::find(report.answerHeaders, "Location", &AnswerHeader::name);
  return location == report.answerHeaders.end() ? "" : " (" + location->value + ")";
}

}  // namespace

Finding judgeTls(const WayFacts& facts) {
  const ConnectReport& report = facts.report;
  Finding finding;
  if (!facts.url.isSecure()) {
    finding = isThisMachine(facts.url.server.host)
                  ? skipped("tls", "notAsked", "the server is on this machine, and asked for by ws://")
                  : warned("tls", "none", "no TLS: everybody on the way can read passwords and tokens",
                           "use wss:// if the server speaks it");
    return finding;
  }
  if (failedStep(facts) == Step::Tls && facts.error->domain == websocket_error::kTlsDomain) {
    finding = failedCertificate(facts);
  } else if (failedStep(facts) == Step::Tls) {
    finding = failed("tls", "noAnswer", "the TLS handshake was not finished: " + facts.error->description,
                     "check the port; a firewall may look into TLS and drop what it does not know");
  } else {
    finding = good("tls", report.tlsVersion.value_or("TLS"));
    if (!report.chain.empty()) {
      const std::int64_t days = daysUntil(report.chain.front().notAfter, facts.now);
      const std::string left = counted(days, "day") + " left";
      finding.text += ", chain of " + std::to_string(report.chain.size()) + ", " + left;
      if (days < kFewDays) {
        finding = warned("tls", "expiresSoon",
                         "the certificate expires on " + dayText(report.chain.front().notAfter) + ", " + left,
                         "the server needs a new certificate before that");
      }
    }
  }
  finding.facts = tlsFacts(facts);
  finding.milliseconds = report.tls ? report.tls->count() * 1000 : 0;
  return finding;
}

Finding judgeUpgrade(const WayFacts& facts) {
  constexpr int kSwitching = 101, kUnauthorized = 401, kForbidden = 403, kNotFound = 404, kServerErrors = 500,
                kRefusals = 400, kRedirects = 300;
  const int status = facts.report.httpStatus;
  const std::string number = std::to_string(status);
  const double took = facts.report.upgrade ? facts.report.upgrade->count() * 1000 : 0;
  Finding finding;
  if (facts.isOpen) {
    finding = good("upgrade", std::to_string(kSwitching) + ", " + spanText(took));
  } else if (status == 0) {
    finding = failed("upgrade", "noAnswer", "no answer to the upgrade: " + facts.error->description,
                     "check the port: something else than a WebSocket server may listen there");
  } else if (status == kSwitching) {
    finding = failed("upgrade", "notUnderstood", number + ", but no WebSocket's: " + facts.error->description,
                     "something on the way, or the server, speaks no good WebSocket: ask those who run it");
  } else if (status < kRedirects) {
    finding = failed("upgrade", "page",
                     number +
                         " with a page in the place of a WebSocket: a sign-in page of the "
                         "network, or another server",
                     "open any page in a browser and sign in to the network");
  } else if (status < kRefusals) {
    finding = failed(
        "upgrade", "redirected",
        number + ": it leads elsewhere" + placeText(facts.report) + ", as sign-in pages of a network do",
        "open any page in a browser and sign in to the network; check the address");
  } else if (status == kNotFound) {
    finding =
        failed("upgrade", "noSuchPath",
               "404: the server has nothing at " + facts.url.target.substr(0, facts.url.target.find('?')),
               "check the path of the address");
  } else if (status == kUnauthorized || status == kForbidden) {
    finding = failed("upgrade", "refused", number + ": the server, or a proxy on the way, does not let us in",
                     "check the address and the user in it; ask those who run the server");
  } else if (status >= kServerErrors) {
    finding = failed("upgrade", "serverAway", number + ": what is behind the gateway does not answer",
                     "try again later; tell those who run the server");
  } else {
    finding =
        failed("upgrade", "refused", number + ": the server refuses a WebSocket there", "check the address");
  }
  finding.facts = {{"status", status},
                   {"path", facts.url.target.substr(0, facts.url.target.find('?'))},
                   {"headers", headerLines(facts.report)}};
  finding.milliseconds = took;
  return finding;
}

Finding judgeClock(const WayFacts& facts) {
  constexpr double kNoticed = 30, kHarmful = 300;
  const ConnectReport& report = facts.report;
  if (!report.serverDate || !report.answeredAt) {
    return skipped("clock", "notTold", "the server does not tell its time");
  }
  // The header has whole seconds.
  const double slow = Seconds(*report.serverDate - *report.answeredAt).count() + 0.5;
  const double off = std::abs(slow);
  std::array<char, 64> span{};
  std::snprintf(span.data(), span.size(), off < 120 ? "%.0f s" : "%.0f min", off < 120 ? off : off / 60);
  const json::object shown{{"offSeconds", std::round(slow * 10) / 10}};
  if (off <= kNoticed) return good("clock", off < 1 ? "right" : std::string(span.data()) + " off", shown);
  const std::string text = "this clock is " + std::string(span.data()) + (slow > 0 ? " slow" : " fast");
  if (off <= kHarmful) return warned("clock", "off", text, "have it set by the network", shown);
  return failed("clock", "wrong", text + ": certificates will fail", "have it set by the network", shown);
}

}  // namespace orv::cli::doctor
