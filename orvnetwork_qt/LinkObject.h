#pragma once

#include <orvnetwork/client/LinkSnapshot.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/data/Export.h>

#include <QDateTime>
#include <QObject>
#include <QString>

namespace orv {
class Client;
class LinkStatus;
}  // namespace orv

namespace orv::qt {

/// The link to the server as an object with properties: `LinkStatus` for widgets and QML.
///
///     auto* link = new orv::qt::LinkObject(*client, window);
///     QObject::connect(link, &orv::qt::LinkObject::changed, banner, [=] { banner->setText(link->sentence()); });
///
/// All properties belong to one moment: that of the last `changed`. After the `Client`, and gone before it; the
/// application's thread. It may be destroyed at any time, from inside its signals too.
class ORV_EXPORT LinkObject : public QObject {
  Q_OBJECT
  Q_PROPERTY(State state READ state NOTIFY changed)
  /// Whether requests can be sent.
  Q_PROPERTY(bool up READ isUp NOTIFY changed)
  /// When this state began, by the wall clock.
  Q_PROPERTY(QDateTime since READ since NOTIFY changed)
  /// When the next attempt is made; invalid where none is planned.
  Q_PROPERTY(QDateTime nextAttempt READ nextAttempt NOTIFY changed)
  /// How many attempts there were since the link was last up.
  Q_PROPERTY(int attempt READ attempt NOTIFY changed)
  /// Why there is no link, a part of an English sentence; empty while nothing went wrong.
  Q_PROPERTY(QString failureText READ failureText NOTIFY changed)
  /// The same by its name in `LinkTrouble`, such as "refused", for a text in another language; empty likewise.
  Q_PROPERTY(QString trouble READ trouble NOTIFY changed)
  /// Whether the link comes up without anybody's doing.
  Q_PROPERTY(bool willRetry READ willRetry NOTIFY changed)
  /// Whether attempts alone will hardly mend it.
  Q_PROPERTY(bool needsPerson READ needsPerson NOTIFY changed)
  /// All of it in one line of English.
  Q_PROPERTY(QString sentence READ sentence NOTIFY changed)

 public:
  /// `LinkState`, for QML.
  enum State { Stopped, Offline, Connecting, Confirming, Up, Waiting };
  Q_ENUM(State)

  explicit LinkObject(Client& client, QObject* parent = nullptr);
  ~LinkObject() override;

  State state() const;
  bool isUp() const { return now_.isUp(); }
  QDateTime since() const;
  QDateTime nextAttempt() const;
  int attempt() const;
  QString failureText() const;
  QString trouble() const;
  bool willRetry() const { return now_.willRetry; }
  bool needsPerson() const { return now_.needsPerson(); }
  QString sentence() const;
  /// All that the properties are made of.
  const LinkSnapshot& snapshot() const { return now_; }

  /// `LinkStatus::tryNow`: for a person who does not want to wait.
  Q_INVOKABLE void tryNow();

 Q_SIGNALS:
  /// Something is another than before.
  void changed();
  /// The link has come up, or was lost; after `changed`.
  void upChanged(bool up);

 private:
  void take(const LinkSnapshot& now);

  LinkStatus& link_;
  LinkSnapshot now_;
  bool upTold_;
  Subscription changed_;
};

}  // namespace orv::qt
