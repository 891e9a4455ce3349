#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/client/SessionInfo.h>
#include <orvnetwork/client/SignIn.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/data/Export.h>

#include <orvnetwork_qt/UserObject.h>

#include <QObject>
#include <QString>

namespace orv {
class Client;
class SessionStatus;
}  // namespace orv

namespace orv::qt {

/// Who is signed in, as an object with properties: `SessionStatus` for widgets and QML.
///
///     auto* session = new orv::qt::SessionObject(*client, window);
///     QObject::connect(session, &orv::qt::SessionObject::signInFinished, window, [=](auto outcome, const QString& why) {
///       if (outcome != orv::qt::SessionObject::SignedIn) form->showError(why);
///     });
///     session->signIn(form->mobile(), form->password());
///
/// State, reason, other device and user belong to one moment: that of the last `changed`. After the `Client`, and gone
/// before it, which gives a sign-in up that is under way; the application's thread. It may be destroyed at any time, from
/// inside its signals too.
class ORV_EXPORT SessionObject : public QObject {
  Q_OBJECT
  Q_PROPERTY(State state READ state NOTIFY changed)
  /// Why it is so, in the server's words; empty where there is nothing to say.
  Q_PROPERTY(QString reason READ reason NOTIFY changed)
  /// Whether the account is logged in on another device, and whether a course of it is on the air there.
  Q_PROPERTY(bool otherDeviceLoggedIn READ isOtherDeviceLoggedIn NOTIFY changed)
  Q_PROPERTY(bool otherDeviceLive READ isOtherDeviceLive NOTIFY changed)
  /// The same object at all times.
  Q_PROPERTY(orv::qt::UserObject* user READ user CONSTANT)
  Q_PROPERTY(bool signingIn READ isSigningIn NOTIFY busyChanged)
  Q_PROPERTY(bool signingOut READ isSigningOut NOTIFY busyChanged)

 public:
  /// `SessionState`, for QML.
  enum State { SignedOut, Restoring, Good, Refused, TakenOver };
  Q_ENUM(State)
  /// `SignInOutcome`, for QML.
  enum Outcome { SignedIn, SignInRefused, NoAnswer, NoUser, NotWritten, Cancelled };
  Q_ENUM(Outcome)

  explicit SessionObject(Client& client, QObject* parent = nullptr);
  ~SessionObject() override;

  State state() const;
  QString reason() const;
  bool isOtherDeviceLoggedIn() const { return now_.otherDevice.isLoggedIn; }
  bool isOtherDeviceLive() const { return now_.otherDevice.isLive; }
  UserObject* user() const { return user_; }
  bool isSigningIn() const { return signingIn_.isWaiting(); }
  bool isSigningOut() const { return signingOut_.isWaiting(); }
  /// All that the properties are made of.
  const SessionInfo& info() const { return now_; }

  /// `SessionStatus::signIn`; `signInFinished` tells what became of it. One that is under way is given up, and its end is
  /// not told.
  Q_INVOKABLE void signIn(const QString& mobile, const QString& password);
  /// The same with a verification code.
  Q_INVOKABLE void signInWithCode(const QString& mobile, const QString& code);
  /// Gives a sign-in up: `signInFinished` tells `Cancelled`. Does nothing where none is under way.
  Q_INVOKABLE void cancelSignIn();
  /// `SessionStatus::signOut`; `signOutFinished` tells when it is done. A sign-in that is under way is given up.
  Q_INVOKABLE void signOut();

 Q_SIGNALS:
  void changed();
  void busyChanged();
  /// @param outcome how it has ended
  /// @param reason why it failed, in the server's words where it has some; empty after a success
  /// @param code the server's, where it has refused; 0 otherwise
  void signInFinished(orv::qt::SessionObject::Outcome outcome, const QString& reason, int code);
  /// @param signedOut whether nobody is stored any more
  /// @param reason why the server was not told, or what has failed; empty where there is nothing to say
  void signOutFinished(bool signedOut, const QString& reason);

 private:
  void take(const SessionInfo& now);
  void begin(Pending<SignInResult> signingIn);
  void ended(const SignInResult& result);

  SessionStatus& session_;
  SessionInfo now_;
  UserObject* const user_;
  PendingCallback signingIn_;
  PendingCallback signingOut_;
  Subscription changed_;
};

}  // namespace orv::qt
