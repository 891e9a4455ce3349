// Lost replies and a lost link.

#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/demo/Steps.h"

#include <cmath>
#include <string>

namespace orv::cli::demo {

namespace {

/// The library opens no two sockets within 1.5 s; a link that lived longer has the whole schedule before it.
constexpr double kReconnectPause = 1.6;
constexpr double kServerBackAfter = 2;
constexpr double kFirstRetry = 5;
constexpr double kTimeout = 10;
/// For a busy machine.
constexpr double kTolerance = 0.5;

bool near(double seconds, double expected) {
  return std::abs(seconds - expected) <= kTolerance;
}

std::string offset(double seconds) {
  return "+" + decimal(seconds, 2) + " s";
}

}  // namespace

void replyIsLost(Tour& tour) {
  tour.stage.note("The server carries the next request out but never answers. Its time-out comes in 10 s;");
  tour.stage.note("the tour goes on meanwhile.");
  tour.server.faults().dropReplies(1, "Dev.Lost");
  tour.lost = tour.send("Dev.Lost", {{"answer", "never"}});
  // The server counts on a thread of its own, before the tour is told of the frame.
  const bool dropped = tour.wait(
      [&] { return tour.server.counters().repliesDropped == 1 && tour.frames("Dev.Lost").size() == 1; });
  tour.stage.verdict("the server received it and dropped the reply", dropped,
                     std::to_string(tour.server.counters().repliesDropped) + " dropped");
  tour.stage.verdict("the request is outstanding",
                     QXWebSocketMgr::standard().outstandingRequestCount() == 1 && !tour.lost->ended(),
                     std::to_string(QXWebSocketMgr::standard().outstandingRequestCount()) + " outstanding");
}

void linkIsLost(Tour& tour) {
  tour.pause(tour.attempts().empty() ? 0 : tour.attempts().back() + kReconnectPause - tour.stage.elapsed());
  const std::size_t attemptsBefore = tour.attempts().size();
  const std::size_t sessionsBefore = tour.frames("User.Post.Session").size();
  const double killed = tour.stage.elapsed();
  tour.stage.row(Row::Server, "is killed");
  tour.server.stop();
  const bool failed = tour.wait([&] { return tour.count(QXNotificationDidFailWithError) == 1; });

  const auto early = tour.send("Dev.TooEarly", {});
  const bool atOnce = early->timedOut == 1 && early->completed == 0;

  const auto back = Timer::schedule(Seconds(kServerBackAfter), false, [&tour] {
    tour.stage.row(Row::Server, "is back on the same port");
    tour.server.start();
  });
  const bool up = tour.wait([&] { return tour.count(QXNotificationDidOpen) == 2; }, kFirstRetry + 3);
  back->invalidate();
  const auto& attempts = tour.attempts();
  const std::size_t made = attempts.size() - attemptsBefore;
  const double first = made > 0 ? attempts[attemptsBefore] - killed : -1;
  const double second = made > 1 ? attempts[attemptsBefore + 1] - killed : -1;

  tour.stage.verdict("the close is told, and then that the attempt after it failed",
                     failed && tour.count(QXNotificationDidCloseWithCode) == 1,
                     std::to_string(tour.count(QXNotificationDidFailWithError)) + " failure");
  tour.stage.verdict("a request on a closed link times out before the call returns", atOnce,
                     std::to_string(early->timedOut) + " time-out");
  tour.stage.verdict("retries come at once and 5 s later",
                     made == 2 && near(first, 0) && near(second, kFirstRetry),
                     made < 2 ? std::to_string(made) + " retries" : offset(first) + ", " + offset(second));
  const bool renewed = tour.wait([&] { return tour.frames("User.Post.Session").size() > sessionsBefore; });
  tour.stage.verdict(
      "the server is back and so is the link",
      up && QXWebSocketMgr::standard().isOpen() && QXWebSocketMgr::standard().retryTimes() == 0,
      up ? "up at " + offset(tour.stage.elapsed() - killed) : "not up");
  tour.stage.verdict("the session is renewed by itself", renewed,
                     renewed ? "User.Post.Session" : "not asked for");
}

void requestTimesOut(Tour& tour) {
  const double left = tour.lost->sentAt + kTimeout - tour.stage.elapsed();
  if (left > 0) tour.stage.note("Still " + decimal(left, 1) + " s to wait for the request without a reply.");
  tour.wait([&] { return tour.lost->ended(); }, left + 2);
  tour.stage.verdict(
      "its time-out callback was called once, 10 s after it was sent",
      tour.lost->timedOut == 1 && tour.lost->completed == 0 &&
          near(tour.lost->endedAt - tour.lost->sentAt, kTimeout),
      tour.lost->ended() ? decimal(tour.lost->endedAt - tour.lost->sentAt, 2) + " s" : "not called");
  const bool gone = tour.wait([] { return QXWebSocketMgr::standard().outstandingRequestCount() == 0; }, 0.5);
  tour.stage.verdict("nothing is outstanding any more", gone,
                     std::to_string(QXWebSocketMgr::standard().outstandingRequestCount()) + " outstanding");
}

}  // namespace orv::cli::demo
