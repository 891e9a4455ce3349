#include "orvnetwork/client/detail/UserStore.h"

#include <orvnetwork/client/detail/OffMain.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

namespace orv::detail {

namespace {

using Told = std::optional<bool>;

QXUserInfoMgr& users() {
  return QXUserInfoMgr::getInstance();
}

bool isInFile(const OrvUserInfoModel& user) {
  const OptionalString before = user.token.get();
  const OptionalString path = users().userInfoPlist();
  const auto stored = path ? readDictionaryFile(*path) : std::nullopt;
  if (!stored) return false;
  const auto record = makeRecord<OrvUserInfoModel>(*stored);
  // A renewal may bring another token, which is written in its turn.
  return record->uID.get() == user.uID.get() &&
         (record->token.get() == before || record->token.get() == user.token.get());
}

bool isFileEmpty() {
  const OptionalString path = users().userInfoPlist();
  if (!path || !Platform::current().files().exists(*path)) return true;
  const auto stored = readDictionaryFile(*path);
  return stored && stored->empty();
}

}  // namespace

UserStore::UserStore() : queue_(SerialQueue::make("orv.client.users", Platform::current().globalQueue())) {}

Pending<Told> UserStore::open() {
  return offMain<Told>(*queue_, [] { return Told(users().isLogined()); });
}

Pending<Told> UserStore::store(const StoringPointer& storing) {
  return offMain<Told>(*queue_, [storing] {
    if (storing->isGivenUp_) return Told(false);
    storing->former_ = users().userInfo();
    storing->wasStored_ = true;
    users().setUserInfo(storing->user_);
    return Told(isInFile(*storing->user_));
  });
}

void UserStore::giveUp(const StoringPointer& storing) {
  storing->isGivenUp_ = true;
  // Behind the storing itself, if that is under way.
  queue_->post([storing] {
    if (!storing->wasStored_ || users().userInfo() != storing->user_) return;
    users().setUserInfo(storing->former_);
  });
}

Pending<Told> UserStore::clear() {
  return offMain<Told>(*queue_, [] {
    // Also where only the file has somebody, since it could not be written the last time.
    if (users().isLogined() || !isFileEmpty()) users().setUserInfo(nullptr);
    return Told(isFileEmpty());
  });
}

std::string UserStore::file() {
  return users().userInfoPlist().value_or("userInfo/userInfo.plist");
}

}  // namespace orv::detail
