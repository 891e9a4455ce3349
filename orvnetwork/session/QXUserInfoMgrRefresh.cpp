// What the manager asks the server: the session, again and again, and the classroom.

#include "orvnetwork/session/QXUserInfoMgr.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/data/JsonEquality.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <string_view>
#include <utility>

namespace orv {

namespace {

constexpr Seconds kRefreshInterval{120};
constexpr std::int64_t kClassroomRetries = 3;
constexpr std::int32_t kMostErrors = 3;
/// Codes that say that the session will not come back.
constexpr bool endsSession(std::int64_t code) {
  return code == -999999 || code == 2;
}

constexpr std::string_view kRefreshSession = "-[QXUserInfoMgr refresheSession]";
constexpr std::string_view kRefreshClassroom = "-[QXUserInfoMgr refreshClassroomInfoWithRetryCount:]";
constexpr int kSessionErrorLine = 138;
constexpr int kClassroomErrorLine = 178;

/// What both replies hold under "v"; null is absence.
struct ReplyValues {
  explicit ReplyValues(const json::object& reply) {
    const json::object* const values = looseObject(member(reply, "v"));
    code = looseInt64(member(values, "ret"));
    error = member(values, "err");
    data = member(values, "data");
    if (error != nullptr && error->is_null()) error = nullptr;
  }

  std::int64_t code = 0;
  const json::value* error = nullptr;
  const json::value* data = nullptr;
};

void post(std::string_view name) {
  NotificationCenter::defaultCenter().post(name);
}

}  // namespace

void QXUserInfoMgr::websocketStatusChanged() {
  if (QXWebSocketMgr::standard().isOpen() && userInfo()) startRefreshSession();
}

std::shared_ptr<Timer> QXUserInfoMgr::autoLogintimer() const {
  const std::lock_guard lock(mutex_);
  return autoLogintimer_;
}

void QXUserInfoMgr::setAutoLogintimer(std::shared_ptr<Timer> timer) {
  const std::lock_guard lock(mutex_);
  std::swap(autoLogintimer_, timer);
}

// Starting and stopping may be asked for on any thread, and a stop is carried out at once on the main thread: the
// one that was asked for last counts.
void QXUserInfoMgr::startRefreshSession() {
  std::uint64_t order = 0;
  {
    const std::lock_guard lock(mutex_);
    order = lastStart_ = ++lastOrder_;
  }
  Platform::current().mainQueue().post([this, order] {
    if (isOvertaken(order, lastStop_)) return;
    endTimer();
    const auto timer = Timer::schedule(kRefreshInterval, true, [this] { refresheSession(); });
    setAutoLogintimer(timer);
    timer->fire();
  });
}

void QXUserInfoMgr::stopRefreshSession() {
  std::uint64_t order = 0;
  {
    const std::lock_guard lock(mutex_);
    order = lastStop_ = ++lastOrder_;
  }
  MainQueue& main = Platform::current().mainQueue();
  if (main.isCurrent()) {
    endTimer();
    return;
  }
  main.post([this, order] {
    if (!isOvertaken(order, lastStart_)) endTimer();
  });
}

bool QXUserInfoMgr::isOvertaken(std::uint64_t order, const std::uint64_t& contrary) const {
  const std::lock_guard lock(mutex_);
  return contrary > order;
}

void QXUserInfoMgr::endTimer() {
  std::shared_ptr<Timer> ended;
  {
    const std::lock_guard lock(mutex_);
    ended = std::exchange(autoLogintimer_, nullptr);
  }
  if (ended) ended->invalidate();
}

void QXUserInfoMgr::refresheSession() {
  auto& link = QXWebSocketMgr::standard();
  auto& log = QXFileLog::standard();
  if (!link.isNetworkEnable()) {
    log.log("QXWebSocketMgr isNetworkEnable = NO: %s", kRefreshSession);
    return;
  }
  if (!link.isOpen()) {
    link.reconnect();
    log.log("QXWebSocketMgr isOpen = NO: %s", kRefreshSession);
    return;
  }
  const UserPointer user = userInfo();
  if (!user) return;
  const SignIn asked{user->uID, user->token};
  QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock(
      asked.uID, asked.token,
      [this, asked](const auto&, bool success, const json::object& reply) {
        sessionAnswered(asked, success, reply);
      },
      [this, asked](const auto& item) {
        QXFileLog::standard().log("%s timeout %@", kRefreshSession, describe(item));
        sessionUnanswered(asked);
      });
}

void QXUserInfoMgr::sessionAnswered(const SignIn& asked, bool success, const json::object& reply) {
  const ReplyValues values(reply);
  const UserPointer user = userWith(asked.uID);
  const bool isCurrent = user && user->token.get() == asked.token;
  if (success && values.error == nullptr) {
    QXFileLog::standard().log("refresh session success: %s", kRefreshSession);
    if (isCurrent || (user && lastRenewal_ == Renewal{asked, user->token})) {
      sessionRenewed(user, asked, values.data);
    }
    return;
  }
  if (isCurrent) sessionRefused(values.code, values.error);
  QXFileLog::standard().log("%s %d errCode %ld, %@", kRefreshSession, kSessionErrorLine, values.code,
                            values.error);
}

void QXUserInfoMgr::sessionRenewed(const UserPointer& user, const SignIn& asked, const json::value* data) {
  errorCount_ = 0;
  if (const json::object* const news = looseObject(data)) {
    json::object merged(*news);
    merged.erase("classroominfo");
    user->merge(merged);
  }
  lastRenewal_ = Renewal{asked, user->token};
  if (!storeAgain(user)) return;
  tellRenewal({SessionRenewal::End::Renewed});
  const auto other = user->otherDeviceLogin.get();
  if (other && (other->isLogin || other->liveStatus)) post(QXNotificationOtherUserLoggedIn);
}

void QXUserInfoMgr::sessionRefused(std::int64_t code, const json::value* error) {
  const std::int32_t errors = ++errorCount_;
  const bool isOver = endsSession(code) || errors >= kMostErrors;
  if (isOver) stopRefreshSession();
  const auto text = looseStringView(error);
  tellRenewal({SessionRenewal::End::Refused, code, text ? OptionalString(*text) : std::nullopt, isOver});
  if (isOver) post(QXNotificationUserInfoInvalidate);
}

void QXUserInfoMgr::sessionUnanswered(const SignIn& asked) {
  MainQueue& main = Platform::current().mainQueue();
  // On a link that was closed meanwhile this runs on the caller's thread.
  if (!main.isCurrent()) return main.post([this, asked] { sessionUnanswered(asked); });
  const UserPointer user = userWith(asked.uID);
  if (user && user->token.get() == asked.token) tellRenewal({SessionRenewal::End::Unanswered});
}

ObserverToken QXUserInfoMgr::watchRenewals(std::function<void(const SessionRenewal& renewal)> ended) {
  return renewals_.observe(std::nullopt, [ended = std::move(ended)](const Notification& told) {
    ended(*static_cast<const SessionRenewal*>(told.object));
  });
}

void QXUserInfoMgr::tellRenewal(const SessionRenewal& renewal) {
  renewals_.post({}, &renewal);
}

QXUserInfoMgr::UserPointer QXUserInfoMgr::userWith(const OptionalString& uID) const {
  const UserPointer user = userInfo();
  return user && user->uID.get() == uID ? user : nullptr;
}

void QXUserInfoMgr::refreshClassroomInfo() {
  refreshClassroomInfoWithRetryCount(kClassroomRetries);
}

void QXUserInfoMgr::refreshClassroomInfoWithRetryCount(std::int64_t retryCount) {
  const UserPointer user = userInfo();
  if (!user) return;
  QXAPIHelper::getCourseRoomInfoWithClassroomID_completeBlock_timeoutBlock(
      user->classroom.get(),
      [this, uID = user->uID.get(), retryCount](const auto&, bool success, const json::object& reply) {
        classroomAnswered(uID, retryCount, success, reply);
      },
      [](const auto& item) { QXFileLog::standard().log("timeout %@", describe(item)); });
}

void QXUserInfoMgr::classroomAnswered(const OptionalString& askedFor, std::int64_t retriesLeft, bool success,
                                      const json::object& reply) {
  const ReplyValues values(reply);
  const UserPointer user = userWith(askedFor);
  const bool hasErrorText = !looseStringView(values.error).value_or("").empty();
  if (!success || hasErrorText) {
    if (retriesLeft > 0 && user) refreshClassroomInfoWithRetryCount(retriesLeft - 1);
    QXFileLog::standard().log("%s %d errCode %ld, %@", kRefreshClassroom, kClassroomErrorLine, values.code,
                              values.error);
    return;
  }
  consoleLog("%@", values.data);
  if (user) classroomArrived(*user, values.data);
}

void QXUserInfoMgr::classroomArrived(OrvUserInfoModel& user, const json::value* data) {
  const auto fresh = makeRecord<OrvClassroomInfo>(data);
  if (!fresh) return;
  const auto former = user.classroominfo.get();
  const json::object formerForm = former ? former->jsonObject() : json::object();
  user.classroominfo = fresh;
  user.classroom = fresh->ID.get();
  if (!sameJson(formerForm, data->get_object())) post(QXNotificationDidChangeClassroom);
}

}  // namespace orv
