// The server, the link, and plain requests.

#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/demo/Steps.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::cli::demo {

void serverStarts(Tour& tour) {
  auto& server = tour.server;
  tour.stage.row(Row::Server, "listens at " + server.url());
  tour.stage.verdict("the server runs on a free loopback port",
                     server.running() && server.port() != 0 && server.url().starts_with("ws://127.0.0.1:"),
                     "port " + std::to_string(server.port()));
}

void linkOpens(Tour& tour) {
  auto& manager = QXWebSocketMgr::standard();
  tour.stage.note("The first report of a network opens the link. The server holds its PONG back a moment.");
  tour.server.faults().setPingAnswer(std::nullopt);
  tour.host.client();
  const bool asked = tour.wait([&] { return !tour.frames().empty(); });
  tour.pause(0.2);
  const bool openEarly = manager.isOpen() || tour.count(QXNotificationDidOpen) != 0;
  tour.server.faults().setPingAnswer("PONG");
  tour.stage.row(Row::ToClient, "PONG");
  tour.server.sendText("PONG");
  const bool opened = tour.wait([&] { return tour.count(QXNotificationDidOpen) == 1; });

  const auto& first = tour.notifications().empty() ? SeenNotification() : tour.notifications().front();
  const std::string status = textOf(first.userInfo, WNNetworkNotificationKey_Status);
  tour.stage.verdict("the network's state is reported first",
                     first.name == QXNotificationReachabilityStatusChange && (status == "1" || status == "2"),
                     "status " + status);
  tour.stage.verdict("the first frame is PING", asked && tour.frames().front().text == "PING", "");
  tour.stage.verdict("before PONG the link is not up", asked && !openEarly, "");
  tour.stage.verdict("PONG brings it up", opened && manager.isOpen(), "");
}

void requestIsAnswered(Tour& tour) {
  auto& manager = QXWebSocketMgr::standard();
  const json::object values{{"word", "你好"}, {"half", 0.5}};
  const auto call = tour.send("Dev.Hello", values);
  tour.wait([&] { return call->ended(); });

  const auto sent = tour.frames("Dev.Hello");
  const json::object frame = sent.empty() ? json::object() : sent.front().json;
  tour.stage.note("The whole frame as it came to the server:");
  if (!sent.empty()) tour.stage.block(sent.front().text);
  const std::string version =
      manager.appVersion().value_or("") + "." + manager.appBuildVersion().value_or("");
  const bool whole = frame.size() == 7 && textOf(frame, "r") == "1" && textOf(frame, "a") == "1" &&
                     textOf(frame, "g") == manager.globalUUID() && textOf(frame, "b") == version &&
                     textOf(frame, "s").size() == 16 && frame.contains("v") && frame.at("v") == values;
  tour.stage.verdict("the server received one frame with c, r, g, a, b, s and v", sent.size() == 1 && whole,
                     std::to_string(sent.size()) + " frame, " + std::to_string(frame.size()) + " members");
  const bool echoed = call->success && call->data().contains("values") && call->data().at("values") == values;
  tour.stage.verdict(
      "its reply reached the completion callback once, with the values unchanged",
      call->completed == 1 && call->timedOut == 0 && echoed && textOf(call->reply, "C") == "Dev.Hello",
      "after " + decimal(1000 * (call->endedAt - call->sentAt), 1) + " ms");
}

void requestsOverlap(Tour& tour) {
  constexpr std::size_t kRequests = 100;
  constexpr double kApart = 0.0011;
  tour.stage.note("The server keeps its replies back until all " + std::to_string(kRequests) +
                  " requests are outstanding, and sends them in reverse order then. They leave a "
                  "millisecond apart, which keeps their identifiers apart. Their rows are left out.");
  tour.stage.setQuiet(true);
  // One more than come, so that none leaves by itself.
  tour.server.faults().reorderReplies(kRequests + 1, "Dev.Count");
  std::vector<std::shared_ptr<Call>> calls;
  while (calls.size() < kRequests && !tour.host.interrupted()) {
    calls.push_back(tour.send("Dev.Count", {{"n", calls.size()}}));
    tour.pause(kApart);
  }
  const auto isWhole = [&calls](std::size_t i) {
    const Call& call = *calls[i];
    return call.completed == 1 && call.timedOut == 0 && call.success &&
           textOf(call.reply, "C") == "Dev.Count" &&
           textOf(call.data(), "values") == "{\"n\":" + std::to_string(i) + "}";
  };
  tour.wait([&tour] { return tour.frames("Dev.Count").size() == kRequests; });
  const std::size_t outstanding = QXWebSocketMgr::standard().outstandingRequestCount();
  tour.server.faults().clear();
  tour.wait([&calls] { return std::ranges::all_of(calls, [](const auto& call) { return call->ended(); }); });
  tour.stage.setQuiet(false);

  std::size_t whole = 0, inOrder = 0;
  const auto frames = tour.frames("Dev.Count");
  for (std::size_t i = 0; i < calls.size(); ++i) {
    whole += isWhole(i) ? 1 : 0;
    inOrder +=
        i < frames.size() && textOf(frames[i].json, "v") == "{\"n\":" + std::to_string(i) + "}" ? 1 : 0;
  }
  tour.stage.verdict("the server received them in the order of the calls",
                     inOrder == kRequests && frames.size() == kRequests,
                     std::to_string(frames.size()) + " frames");
  tour.stage.verdict("all were outstanding at once", outstanding == kRequests,
                     std::to_string(outstanding) + " outstanding");
  tour.stage.verdict("each got its own reply, once", whole == kRequests,
                     std::to_string(whole) + " of " + std::to_string(kRequests));
}

}  // namespace orv::cli::demo
