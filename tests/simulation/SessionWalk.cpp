#include "SessionWalk.h"

#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/ReplyFault.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <tests/simulation/DistinctIdentifiers.h>

#include <algorithm>
#include <string_view>

namespace orv {

using testing::ConnectPlan;
using testing::ReplyFault;

namespace {

constexpr std::string_view kSession = "User.Post.Session";
constexpr std::string_view kClassroom = "Course.Room.Info";
constexpr const char* kFile = "/home/user/Documents/userInfo/userInfo.plist";

std::string textOf(const json::object& values, std::string_view key) {
  const json::value* const value = values.if_contains(key);
  return value != nullptr && value->is_string() ? std::string(value->get_string()) : "";
}

/// What of a user is in the file: the classroom reaches it with the next store only.
json::object stored(json::object form) {
  form.erase("classroominfo");
  form.erase("classroom");
  return form;
}

std::string emptyList() {
  return writePropertyList(json::object()).value();
}

}  // namespace

SessionWalk::SessionWalk(std::uint64_t seed)
    : random_(seed),
      platform_(testing::SimulatedPlatform::install(seed)),
      server_(platform_.server()),
      link_(QXWebSocketMgr::standard()) {
  Console::setSink([](std::string_view) {});
  keepIdentifiersApart(platform_, 1'000'000);
  link_.setApiServerUrl("ws://walk.test");
  link_.setGlobalUUID("walk");
  server_.onRequest([this](auto connection, const json::object& frame) { serve(connection, frame); });
  users();
  for (const auto name :
       {QXNotificationDidChangeUserInfo, QXNotificationUserInfoInvalidate, QXNotificationOtherUserLoggedIn}) {
    observers_.push_back(NotificationCenter::defaultCenter().observe(
        name, [this](const Notification& notification) { noteNotification(notification); }));
  }
  link_.watchNetworkStatus();
  platform_.settle();
}

SessionWalk::~SessionWalk() {
  Console::setSink(nullptr);
}

void SessionWalk::complain(std::string text) {
  if (complaints_.size() < 20) complaints_.push_back(std::move(text));
}

void SessionWalk::step() {
  const int deed = pick(100);
  if (deed < 10) {
    signIn();
  } else if (deed < 13) {
    signOut();
  } else if (deed < 17) {
    storeAgain();
  } else if (deed < 35) {
    sendRequest();
  } else if (deed < 45) {
    useRefresh();
  } else if (deed < 52) {
    disturb();
  } else if (deed < 60) {
    platform_.settle();
    checkMemory();
    checkFile();
  } else {
    letTimePass();
  }
}

// The host ----------------------------------------------------------------------------------------------------

SessionWalk::SignIn SessionWalk::signInOf(const User& user) {
  return user ? SignIn(user->uID.get().value_or(""), user->token.get().value_or("")) : SignIn();
}

/// Another user, or the same one with another token, or with the same.
void SessionWalk::signIn() {
  const std::string number = std::to_string(1 + pick(3));
  const User former = users().userInfo();
  const bool sameToken = former && signInOf(former).first == number && oneIn(4);
  const std::string token = sameToken ? signInOf(former).second : "t" + std::to_string(++tokens_);
  const std::string nick = "host " + std::to_string(tokens_);
  json::object fields{{"uID", number}, {"token", token}, {"nick", nick}};
  if (oneIn(2)) fields["classroom"] = std::to_string(100 + pick(3));
  nicks_[number].insert(nick);
  const User user = makeRecord<OrvUserInfoModel>(fields);
  ++signedIn_;
  store(user, !former || former->jsonObject() != user->jsonObject());
}

void SessionWalk::signOut() {
  store(nullptr, true);
}

/// What was changed in place is stored without a word.
void SessionWalk::storeAgain() {
  const User user = users().userInfo();
  if (!user) return;
  const std::string nick = "changed " + std::to_string(pick(1000));
  nicks_[signInOf(user).first].insert(nick);
  user->nick = nick;
  store(user, false);
}

void SessionWalk::store(const User& user, bool tells) {
  if (user) signIns_.insert(signInOf(user));
  changesExpected_ = tells ? 1 : 0;
  users().setUserInfo(user);
  if (changesExpected_ != 0) complain("a change of user that was not told");
  changesExpected_ = 0;
}

void SessionWalk::sendRequest() {
  // A step of the clock keeps identifiers apart.
  platform_.stall(Seconds(0.001));
  const std::size_t number = ends_.size();
  ends_.push_back(0);
  const auto end = [this, number] {
    if (++ends_[number] > 1) complain("a request ended twice");
  };
  link_.sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "Course.Get.Info", json::object{{"n", number}}, [end](const auto&, bool, const auto&) { end(); },
      [end](const auto&) { end(); }));
}

void SessionWalk::useRefresh() {
  switch (pick(6)) {
    case 0:
      users().startRefreshSession();
      break;
    case 1:
      users().stopRefreshSession();
      if (users().autoLogintimer()) complain("a refresh timer after its stop");
      break;
    case 2:
      users().refreshClassroomInfo();
      break;
    default:
      users().refresheSession();
  }
}

// The server and the network ----------------------------------------------------------------------------------

void SessionWalk::serve(testing::ConnectionId connection, const json::object& frame) {
  static const std::vector<ReplyFault> kFaults{ReplyFault::drop(), ReplyFault::late(Seconds(3)),
                                               ReplyFault::late(Seconds(9.9)), ReplyFault::late(Seconds(15)),
                                               ReplyFault::duplicate()};
  if (!wellBehaved_ && oneIn(3)) server_.faultNextReply(kFaults[static_cast<std::size_t>(pick(5))]);
  const std::string command = textOf(frame, "c");
  if (command == kSession) return serveSession(connection, frame);
  if (command == kClassroom) {
    if (!wellBehaved_ && oneIn(3)) return server_.reply(connection, frame, {{"ret", 5}, {"err", "no"}});
    const std::string number = std::to_string(100 + pick(3));
    return server_.reply(connection, frame, {{"ret", 0}, {"data", {{"ID", number}, {"name", "Room"}}}});
  }
  server_.reply(connection, frame, {{"ret", sessions_.contains(connection) ? 0 : 1001}});
}

void SessionWalk::serveSession(testing::ConnectionId connection, const json::object& frame) {
  const auto& values = frame.at("v").as_object();
  const SignIn asked(textOf(values, "uID"), textOf(values, "token"));
  if (!signIns_.contains(asked)) complain("a token was sent with another user's number");
  if (!wellBehaved_ && oneIn(4)) {
    static constexpr int kCodes[] = {2, -999999, 5, 5, 5, 1001};
    const int code = kCodes[pick(6)];
    if (code == 2 || code == -999999) refusedForGood_.insert(asked);
    ++refusals_;
    return server_.reply(connection, frame, {{"ret", code}, {"err", "no"}});
  }
  ++renewals_;
  sessions_.insert(connection);
  const std::string nick = "server " + std::to_string(renewals_);
  nicks_[asked.first].insert(nick);
  json::object data{{"uID", asked.first}, {"nick", nick}};
  if (!wellBehaved_ && oneIn(5)) {
    const std::string token = "s" + std::to_string(++tokens_);
    data["token"] = token;
    signIns_.emplace(asked.first, token);
  }
  if (oneIn(10)) {
    saidOtherDevice_ = true;
    data["otherDeviceLogin"] = {{"isLogin", true}};
  }
  server_.reply(connection, frame, {{"ret", 0}, {"data", data}});
}

void SessionWalk::disturb() {
  const auto connection = server_.latest();
  switch (pick(6)) {
    case 0:
      return server_.reset(connection);
    case 1:
      return server_.close(connection, 1000, "walk");
    case 2:
      return server_.setSilent(connection, oneIn(2));
    case 3:
      return platform_.network().planConnect(oneIn(2) ? ConnectPlan::refuse()
                                                      : ConnectPlan::accept(Seconds(4)));
    case 4:
      return platform_.network().setLatency(Seconds(pick(100) / 1000.0), Seconds(pick(100) / 1000.0));
    default:
      platform_.reachability().report(oneIn(4) ? ReachabilityStatus::NotReachable : ReachabilityStatus::WiFi);
  }
}

void SessionWalk::letTimePass() {
  switch (pick(8)) {
    case 0:
      platform_.runFor(Seconds(pick(150)));
      break;
    case 1:
      for (int i = pick(30); i > 0 && platform_.step(); --i) {
      }
      break;
    default:
      platform_.runFor(Seconds(pick(3000) / 1000.0));
  }
  if (server_.frames().size() > 1000) server_.clearRecords();
}

// What must hold ----------------------------------------------------------------------------------------------

void SessionWalk::noteNotification(const Notification& notification) {
  const User user = users().userInfo();
  if (notification.name == QXNotificationDidChangeUserInfo) {
    if (--changesExpected_ < 0) complain("a change of user that nobody made");
  } else if (notification.name == QXNotificationOtherUserLoggedIn) {
    if (!saidOtherDevice_) complain("another device that the server never spoke of");
  } else {
    ++invalidations_;
    if (!user) return complain("a session of nobody is over");
    if (!refusedForGood_.contains(signInOf(user)) && users().errorCount() < 3) {
      complain("a session is over that the server never refused");
    }
    if (users().autoLogintimer()) complain("a session is over and its refresh goes on");
  }
}

void SessionWalk::checkMemory() {
  const User user = users().userInfo();
  if (!user) return;
  const SignIn signIn = signInOf(user);
  if (!signIns_.contains(signIn)) complain("user " + signIn.first + " has the token of another one");
  if (!nicks_[signIn.first].contains(user->nick.get().value_or(""))) {
    complain("user " + signIn.first + " has what belongs to another one");
  }
}

void SessionWalk::checkFile() {
  const auto bytes = platform_.files().contents(kFile);
  // There is none before the first user is stored.
  const auto content = readPropertyList(bytes.value_or(emptyList()));
  if (!content || !content->is_object()) return complain("the user file cannot be read");
  const User user = users().userInfo();
  const json::object wanted = user ? stored(user->jsonObject()) : json::object();
  if (stored(content->get_object()) != wanted) {
    complain("the file holds " + json::serialize(*content) + " in place of " + json::serialize(wanted));
  }
}

void SessionWalk::comeToRest() {
  wellBehaved_ = true;
  for (const auto id : server_.connections()) server_.setSilent(id, false);
  platform_.network().setLatency(Seconds(0), Seconds(0));
  platform_.runFor(Seconds(200));  // plans and faults run out, time-outs come
  signIn();
  for (int attempt = 0; attempt < 40 && (!link_.isOpen() || attempt < 3); ++attempt) {
    platform_.reachability().report(ReachabilityStatus::WiFi);
    platform_.runFor(Seconds(61));
  }
}

void SessionWalk::checkAtRest() {
  checkMemory();
  checkFile();
  if (!link_.isOpen()) complain("the link did not come up again");
  if (!users().autoLogintimer()) complain("the session is not refreshed any more");
  if (users().errorCount() != 0) complain("errors are left of an earlier session");
  if (link_.parkedRequestCount() != 0) complain("requests are still held");
  const auto unended = std::ranges::count(ends_, 0);
  if (unended != 0) complain(std::to_string(unended) + " requests never ended");
}

std::string SessionWalk::summary() const {
  return std::to_string(ends_.size()) + " requests, " + std::to_string(signedIn_) + " sign-ins, " +
         std::to_string(renewals_) + " renewals, " + std::to_string(refusals_) + " refusals, " +
         std::to_string(invalidations_) + " sessions over, " + std::to_string(platform_.elapsed().count()) +
         " s";
}

}  // namespace orv
