#include "orvnetwork/client/SessionStatus.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/api/QXAPIHelperAccount.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/detail/SessionWatch.h>
#include <orvnetwork/client/detail/SignDesk.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <optional>
#include <utility>

namespace orv {

/// What knows, and what does.
class SessionStatus::Impl {
 public:
  Impl() {
    watch->open();
    if (QXUserInfoMgr::isConstructed()) {
      watch->loaded();
      return;
    }
    opening_ = desk->store().open().then([this](const std::optional<bool>&) { watch->loaded(); });
  }
  ~Impl() {
    desk->giveUpSignIns();
    watch->close();
  }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  const std::shared_ptr<detail::SessionWatch> watch = std::make_shared<detail::SessionWatch>();
  const std::shared_ptr<detail::SignDesk> desk = std::make_shared<detail::SignDesk>(watch);

 private:
  PendingCallback opening_;
};

SessionStatus::SessionStatus()
    : impl_((detail::expectMainThread("SessionStatus"), std::make_shared<Impl>())) {}

SessionStatus::~SessionStatus() {
  detail::expectMainThread("~SessionStatus");
}

SessionState SessionStatus::state() const {
  return info().state;
}

const SessionInfo& SessionStatus::info() const {
  detail::expectMainThread("SessionStatus::info");
  return impl_->watch->info();
}

std::shared_ptr<const OrvUserInfoModel> SessionStatus::user() const {
  return info().user;
}

Subscription SessionStatus::onChanged(std::function<void(const SessionChange& change)> callback) {
  detail::expectMainThread("SessionStatus::onChanged");
  return impl_->watch->add(std::move(callback));
}

Pending<SignInResult> SessionStatus::signIn(std::string mobile, std::string password) {
  detail::expectMainThread("SessionStatus::signIn");
  return impl_->desk->signIn([mobile = std::move(mobile), password = std::move(password)] {
    return ask<&QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock>(mobile, password);
  });
}

Pending<SignInResult> SessionStatus::signInWithCode(std::string mobile, std::string code) {
  detail::expectMainThread("SessionStatus::signInWithCode");
  return impl_->desk->signIn([mobile = std::move(mobile), code = std::move(code)] {
    return ask<&QXAPIHelper::loginWithMobile_code_completeBlock_timeoutBlock>(mobile, code);
  });
}

Pending<SignOutResult> SessionStatus::signOut() {
  detail::expectMainThread("SessionStatus::signOut");
  return impl_->desk->signOut();
}

void SessionStatus::linkChanged() {
  detail::expectMainThread("SessionStatus::linkChanged");
  impl_->watch->look();
}

}  // namespace orv
