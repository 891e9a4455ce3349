// What the server says without being asked.

#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/demo/Steps.h"
#include "devserver/faults/Garbage.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace orv::cli::demo {

namespace {

std::size_t occurrences(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + part.size())) {
    ++count;
  }
  return count;
}

}  // namespace

void pushesArrive(Tour& tour) {
  struct Push {
    const char* command;
    std::string_view notification;
  };
  static constexpr std::array<Push, 3> kPushes{{{"Rooms.Push.Message", QXNotificationPushOrvMessage},
                                                {"User.OtherDevice.Logout", QXNotificationLogoutByOtherUser},
                                                {"System.Upload.Log", QXNotificationSystemUploadLog}}};
  const std::size_t before = tour.notifications().size();
  for (const Push& push : kPushes) tour.server.push(push.command, {{"data", {{"roomID", 7001}}}});
  tour.wait([&] { return tour.notifications().size() >= before + kPushes.size(); });
  for (std::size_t i = 0; i < kPushes.size(); ++i) {
    const bool there = before + i < tour.notifications().size();
    const SeenNotification seen = there ? tour.notifications()[before + i] : SeenNotification();
    tour.stage.verdict(std::string(kPushes[i].command) + " is posted with its whole frame",
                       seen.name == kPushes[i].notification &&
                           textOf(seen.userInfo, "C") == kPushes[i].command && seen.userInfo.contains("s") &&
                           seen.userInfo.contains("v"),
                       there ? seen.name : "nothing");
  }
}

void garbageIsDropped(Tour& tour) {
  using devserver::Garbage;
  const std::size_t before = tour.notifications().size();
  tour.stage.row(Row::Server, "sends a text that is no JSON, and an array");
  tour.server.sendGarbage(Garbage::text("<<this is no frame>>"));
  tour.server.sendGarbage(Garbage::array());
  const auto call = tour.send("Dev.StillThere", {});
  tour.wait([&] { return call->ended(); });
  const std::size_t logged = occurrences(tour.logText(), " - websocket parse json error! dic->");
  tour.stage.verdict("both are in the log, and nothing was posted",
                     logged == 2 && tour.notifications().size() == before, std::to_string(logged) + " lines");
  tour.stage.verdict("the link goes on",
                     call->completed == 1 && call->success && QXWebSocketMgr::standard().isOpen(),
                     call->success ? "answered" : "not answered");
}

}  // namespace orv::cli::demo
