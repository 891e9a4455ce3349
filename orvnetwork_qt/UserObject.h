#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/session/OrvUserInfoModel.h>

#include <QObject>
#include <QString>
#include <memory>

namespace orv::qt {

/// The user who is stored, as an object with properties. `SessionObject` has one and changes it; when nobody is stored it
/// stays, `present` is false and all texts are empty. The application's thread.
class ORV_EXPORT UserObject : public QObject {
  Q_OBJECT
  /// Whether a user is stored.
  Q_PROPERTY(bool present READ isPresent NOTIFY changed)
  /// The user's identifier.
  Q_PROPERTY(QString uID READ uID NOTIFY changed)
  /// The name that others see.
  Q_PROPERTY(QString nick READ nick NOTIFY changed)
  /// The number that the user signs in with.
  Q_PROPERTY(QString phone READ phone NOTIFY changed)
  /// Address of the user's picture.
  Q_PROPERTY(QString pictureUrl READ pictureUrl NOTIFY changed)
  /// Identifier and title of the classroom in which the user works; empty where there is none.
  Q_PROPERTY(QString classroomID READ classroomID NOTIFY changed)
  Q_PROPERTY(QString classroomTitle READ classroomTitle NOTIFY changed)

 public:
  /// Nobody changes what it points to.
  using Record = std::shared_ptr<const OrvUserInfoModel>;

  explicit UserObject(QObject* parent = nullptr);
  ~UserObject() override;

  /// What the properties of these names say.
  bool isPresent() const { return record_ != nullptr; }
  QString uID() const;
  QString nick() const;
  QString phone() const;
  QString pictureUrl() const;
  QString classroomID() const;
  QString classroomTitle() const;
  /// All that the properties are made of; null when nobody is stored.
  const Record& record() const { return record_; }

  /// For whoever owns it: shows another record, which nobody changes any more.
  void setRecord(Record record);

 Q_SIGNALS:
  /// Any of the properties has another value.
  void changed();

 private:
  Record record_;
};

}  // namespace orv::qt
