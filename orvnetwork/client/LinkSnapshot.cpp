#include "orvnetwork/client/LinkSnapshot.h"

#include <orvnetwork/client/detail/PlainText.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

namespace {

/// Seconds as a person reads them: "5 s", "3.4 s".
std::string secondsText(Seconds span) {
  std::array<char, 32> text{};
  const double seconds = std::max(0.0, span.count());
  std::snprintf(text.data(), text.size(), seconds < 10 ? "%.2g s" : "%.0f s", seconds);
  return text.data();
}

/// Whether it is known for how long it waits. Before the first attempt the network's report is what counts: it comes sooner
/// than the supervisor.
bool waitsForAttempt(const LinkSnapshot& link) {
  return link.state == LinkState::Waiting && link.until && link.attempt > 0;
}

std::string_view wordsFor(const LinkSnapshot& link) {
  switch (link.state) {
    case LinkState::Stopped:
      return "the link is closed";
    case LinkState::Offline:
      return "waiting for the network";
    case LinkState::Connecting:
      return "connecting";
    case LinkState::Confirming:
      return "waiting for the server to confirm the link";
    case LinkState::Up:
      return "the link is up";
    case LinkState::Waiting:
      break;
  }
  if (waitsForAttempt(link)) return "waiting ";
  return link.willRetry ? "waiting for the first report of the network"
                        : "the link is down and nothing opens it";
}

}  // namespace

std::string_view nameOf(LinkState state) noexcept {
  switch (state) {
    case LinkState::Offline:
      return "offline";
    case LinkState::Connecting:
      return "connecting";
    case LinkState::Confirming:
      return "confirming";
    case LinkState::Up:
      return "up";
    case LinkState::Waiting:
      return "waiting";
    case LinkState::Stopped:
      break;
  }
  return "stopped";
}

std::string_view nameOf(LinkStarter starter) noexcept {
  switch (starter) {
    case LinkStarter::Link:
      return "link";
    case LinkStarter::Supervisor:
      return "supervisor";
    case LinkStarter::Person:
      return "person";
    case LinkStarter::Nobody:
      break;
  }
  return "nobody";
}

bool LinkSnapshot::needsPerson() const noexcept {
  if (!failure) return false;
  switch (failure->trouble) {
    case LinkTrouble::BadAddress:
    case LinkTrouble::CertificateExpired:
    case LinkTrouble::CertificateOfAnother:
    case LinkTrouble::CertificateNotTrusted:
    case LinkTrouble::CertificateNotPinned:
    case LinkTrouble::ClientCertificateWanted:
    case LinkTrouble::BadTlsSettings:
    case LinkTrouble::NoWebSocket:
    case LinkTrouble::BadProxy:
    case LinkTrouble::ProxyRefusesUser:
      return true;
    default:
      return false;
  }
}

std::string LinkSnapshot::sentence() const {
  std::string line(wordsFor(*this));
  if (waitsForAttempt(*this)) {
    line += secondsText(*until - since) + " for attempt " + std::to_string(attempt + 1);
  } else if (state == LinkState::Connecting) {
    line += ", attempt " + std::to_string(attempt);
  }
  return asOneLine(std::move(line), failure ? failure->text : std::string_view());
}

}  // namespace orv
