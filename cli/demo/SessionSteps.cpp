// Who is logged in, and what waits until somebody is.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/demo/Steps.h"
#include <devserver/school/School.h>

#include <fstream>
#include <memory>
#include <string>

namespace orv::cli::demo {

namespace {

constexpr const char* kHeldCommand = "Classroom.Get.Items";

std::shared_ptr<Call> logIn(Tour& tour, const std::string& password) {
  auto call = tour.begin("User.Post.Login");
  QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock(kTeacher, password, tour.onComplete(call),
                                                                   tour.onTimeout(call));
  tour.wait([&] { return call->ended(); });
  return call;
}

std::shared_ptr<Call> takeUpSession(Tour& tour) {
  auto call = tour.begin("User.Post.Session");
  QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock(tour.uID, tour.token, tour.onComplete(call),
                                                                 tour.onTimeout(call));
  tour.wait([&] { return call->ended(); });
  return call;
}

std::string code(const Call& call) {
  return "code " + std::to_string(call.code());
}

std::size_t parkedCount() {
  return QXWebSocketMgr::standard().parkedRequestCount();
}

}  // namespace

void requestIsHeld(Tour& tour) {
  tour.stage.note("Nobody is logged in, so the server answers 1001: the request is held, not failed.");
  tour.parked = tour.send(kHeldCommand, {{"classroom", "5001"}});
  const bool held = tour.wait([&] { return parkedCount() == 1; });
  tour.stage.verdict("the server refused it for want of a session",
                     tour.server.counters().refusedNoSession == 1,
                     std::to_string(tour.server.counters().refusedNoSession) + " refused");
  tour.stage.verdict("it is held, and no callback was called", held && !tour.parked->ended(),
                     std::to_string(parkedCount()) + " held, " +
                         std::to_string(tour.parked->completed + tour.parked->timedOut) + " callbacks");
}

void passwordIsRefused(Tour& tour) {
  const auto call = logIn(tour, kWrongPassword);
  tour.stage.verdict("the completion callback gets no success and code 1102",
                     call->completed == 1 && !call->success && call->code() == 1102, code(*call));
}

void userLogsIn(Tour& tour) {
  const std::string password(devserver::School::kPassword);
  const auto call = logIn(tour, password);
  const auto frames = tour.frames("User.Post.Login");
  const SeenFrame frame = frames.empty() ? SeenFrame() : frames.back();
  const json::object values = frame.json.contains("v") && frame.json.at("v").is_object()
                                  ? frame.json.at("v").get_object()
                                  : json::object();
  const bool digest = textOf(values, "pwd") == devserver::md5Hex(password);
  const bool clear = frame.text.find(password) != std::string::npos;
  tour.stage.verdict("on the wire the password is its MD5 digest only (hidden above)", digest && !clear,
                     std::string(digest ? "digest" : "no digest") + (clear ? ", and in the clear" : ""));
  tour.uID = textOf(call->data(), "uID");
  tour.token = textOf(call->data(), "token");
  tour.stage.verdict("the reply names the user and a token",
                     call->success && !tour.uID.empty() && !tour.token.empty(), "user " + tour.uID);
  // From here on the managers follow the link, the user and the pushes by themselves.
  auto& users = QXUserInfoMgr::getInstance();
  QXCourseManager::getInstance();
  const json::object data = call->data();
  users.setUserInfo(makeRecord<OrvUserInfoModel>(data));
  tour.stage.verdict("the user is stored, and everybody is told",
                     users.isLogined() && tour.count(QXNotificationDidChangeUserInfo) == 1,
                     users.isLogined() ? users.userInfo()->nick.get().value_or("") : "nobody");
  tour.stage.verdict("a log-in alone sends nothing anew: the request is still held",
                     parkedCount() == 1 && !tour.parked->ended(), std::to_string(parkedCount()) + " held");
}

void heldRequestIsSentAgain(Tour& tour) {
  QXUserInfoMgr::getInstance().startRefreshSession();
  const bool answered = tour.wait([&] { return tour.parked->ended(); });
  const auto frames = tour.frames(kHeldCommand);
  tour.stage.verdict("the session is renewed, now and then every 120 s",
                     tour.frames("User.Post.Session").size() == 1 &&
                         QXUserInfoMgr::getInstance().autoLogintimer() != nullptr,
                     std::to_string(tour.frames("User.Post.Session").size()) + " frame");
  const bool same = frames.size() == 2 && frames[0].text == frames[1].text;
  tour.stage.verdict("the held request went out again, the very same frame", same,
                     std::to_string(frames.size()) + " frames");
  tour.stage.verdict("its caller heard of it once, with success",
                     answered && tour.parked->completed == 1 && tour.parked->timedOut == 0 &&
                         tour.parked->success && parkedCount() == 0,
                     std::to_string(tour.parked->completed) + " callback, " +
                         decimal(tour.parked->endedAt - tour.parked->sentAt, 2) + " s after it was sent");
}

void userLogsOut(Tour& tour) {
  const auto call = tour.begin("User.Post.Logout");
  QXAPIHelper::logoutWithCompleteBlock_timeoutBlock(tour.onComplete(call), tour.onTimeout(call));
  tour.wait([&] { return call->ended(); });
  tour.stage.verdict("the log-out succeeds", call->completed == 1 && call->success, code(*call));
  const std::size_t opened = tour.count(QXNotificationDidOpen);
  auto& users = QXUserInfoMgr::getInstance();
  users.setUserInfo(nullptr);
  const bool afresh = tour.wait([&] { return tour.count(QXNotificationDidOpen) > opened; });
  std::ifstream file(users.userInfoPlist().value_or(""));
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  tour.stage.verdict(
      "nobody is stored any more, and the link is a fresh one",
      afresh && !users.isLogined() && !text.empty() && text.find(tour.token) == std::string::npos,
      users.isLogined() ? "somebody" : "nobody");
  tour.stage.verdict("the courses are the public ones", QXCourseManager::getInstance().currentUserID() == 0,
                     "user " + std::to_string(QXCourseManager::getInstance().currentUserID()));
  const auto late = takeUpSession(tour);
  tour.stage.verdict("the token is worth nothing from then on: code 2, told and not held",
                     late->completed == 1 && !late->success && late->code() == 2 && parkedCount() == 0,
                     code(*late));
}

}  // namespace orv::cli::demo
