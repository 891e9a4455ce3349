#include "cli/Watcher.h"

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/LinkSnapshot.h>
#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/client/SessionInfo.h>
#include <orvnetwork/client/SessionStatus.h>

#include "cli/Request.h"

#include <utility>

namespace orv::cli {

namespace {

json::object describe(const Notification& notification) {
  json::object line{{"notification", notification.name}};
  line.emplace("userInfo",
               notification.userInfo != nullptr ? json::value(*notification.userInfo) : json::value());
  return line;
}

json::object describe(const LinkSnapshot& link) {
  json::object line{{"link", nameOf(link.state)}, {"message", link.sentence()}};
  if (link.failure) line.emplace("reason", nameOf(link.failure->trouble));
  return line;
}

std::string_view wordFor(SessionState state) {
  switch (state) {
    case SessionState::SignedOut:
      return "signedOut";
    case SessionState::Restoring:
      return "restoring";
    case SessionState::Good:
      return "good";
    case SessionState::Refused:
      return "refused";
    case SessionState::TakenOver:
      break;
  }
  return "takenOver";
}

json::object describe(const SessionInfo& session) {
  json::object line{{"session", wordFor(session.state)}};
  if (session.user) line.emplace("user", session.user->uID.get().value_or(""));
  if (!session.reason.empty()) line.emplace("message", session.reason);
  return line;
}

}  // namespace

Watcher::Watcher(Host& host, Output& output) : output_(output) {
  Client& client = host.client();
  posted_ = NotificationCenter::defaultCenter().observe({}, [this](const Notification& notification) {
    output_.line(describe(notification));
    Host::notice();
  });
  link_ =
      client.link().onChanged([this](const LinkChange& change) { write(describe(change.now), lastOfLink_); });
  session_ = client.session().onChanged(
      [this](const SessionChange& change) { write(describe(change.now), lastOfSession_); });
}

bool Watcher::isNews(std::string_view line) {
  return line.starts_with("{\"notification\":") || line.starts_with("{\"link\":") ||
         line.starts_with("{\"session\":");
}

void Watcher::write(const json::object& line, std::string& last) {
  std::string text = writeLine(line);
  if (text == last) return;
  last = std::move(text);
  output_.line(std::string_view(last));
  Host::notice();
}

}  // namespace orv::cli
