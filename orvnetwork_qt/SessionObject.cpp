#include "orvnetwork_qt/SessionObject.h"

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/SessionStatus.h>

#include <orvnetwork_qt/Convert.h>

#include <QPointer>
#include <string_view>
#include <utility>

namespace orv::qt {

static_assert(static_cast<int>(SessionState::SignedOut) == SessionObject::SignedOut);
static_assert(static_cast<int>(SessionState::Restoring) == SessionObject::Restoring);
static_assert(static_cast<int>(SessionState::Good) == SessionObject::Good);
static_assert(static_cast<int>(SessionState::Refused) == SessionObject::Refused);
static_assert(static_cast<int>(SessionState::TakenOver) == SessionObject::TakenOver);
static_assert(static_cast<int>(SignInOutcome::SignedIn) == SessionObject::SignedIn);
static_assert(static_cast<int>(SignInOutcome::Refused) == SessionObject::SignInRefused);
static_assert(static_cast<int>(SignInOutcome::NoAnswer) == SessionObject::NoAnswer);
static_assert(static_cast<int>(SignInOutcome::NoUser) == SessionObject::NoUser);
static_assert(static_cast<int>(SignInOutcome::NotWritten) == SessionObject::NotWritten);
static_assert(static_cast<int>(SignInOutcome::Cancelled) == SessionObject::Cancelled);

SessionObject::SessionObject(Client& client, QObject* parent)
    : QObject(parent), session_(client.session()), now_(session_.info()), user_(new UserObject(this)) {
  user_->setRecord(now_.user);
  changed_ = session_.onChanged([this](const SessionChange& change) { take(change.now); });
}

SessionObject::~SessionObject() = default;

void SessionObject::take(const SessionInfo& now) {
  if (now == now_) return;
  const QPointer<SessionObject> self(this);
  now_ = now;
  user_->setRecord(now_.user);
  if (self) Q_EMIT changed();
}

SessionObject::State SessionObject::state() const {
  return static_cast<State>(now_.state);
}

QString SessionObject::reason() const {
  return text(std::string_view(now_.reason));
}

void SessionObject::signIn(const QString& mobile, const QString& password) {
  begin(session_.signIn(utf8(mobile), utf8(password)));
}

void SessionObject::signInWithCode(const QString& mobile, const QString& code) {
  begin(session_.signInWithCode(utf8(mobile), utf8(code)));
}

void SessionObject::cancelSignIn() {
  signingIn_.cancel();
}

void SessionObject::begin(Pending<SignInResult> signingIn) {
  signingIn_ = std::move(signingIn).then([this](const SignInResult& result) { ended(result); });
  Q_EMIT busyChanged();
}

void SessionObject::ended(const SignInResult& result) {
  const QPointer<SessionObject> self(this);
  Q_EMIT busyChanged();
  if (!self) return;
  Q_EMIT signInFinished(static_cast<Outcome>(result.outcome()), text(std::string_view(result.text())),
                        result.code() ? static_cast<int>(*result.code()) : 0);
}

void SessionObject::signOut() {
  signingOut_ = session_.signOut().then([this](const SignOutResult& result) {
    const QPointer<SessionObject> self(this);
    Q_EMIT busyChanged();
    if (self) Q_EMIT signOutFinished(static_cast<bool>(result), text(std::string_view(result.text())));
  });
  Q_EMIT busyChanged();
}

}  // namespace orv::qt
