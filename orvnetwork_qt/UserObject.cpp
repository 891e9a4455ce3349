#include "orvnetwork_qt/UserObject.h"

#include <orvnetwork/data/Property.h>
#include <orvnetwork/session/OrvClassroomInfo.h>

#include <orvnetwork_qt/Convert.h>

#include <utility>

namespace orv::qt {

namespace {

QString fieldOf(const UserObject::Record& record, Property<OptionalString> OrvUserInfoModel::*field) {
  return record ? text((*record.*field).get()) : QString();
}

}  // namespace

UserObject::UserObject(QObject* parent) : QObject(parent) {}

UserObject::~UserObject() = default;

void UserObject::setRecord(Record record) {
  if (record == record_) return;
  record_ = std::move(record);
  Q_EMIT changed();
}

QString UserObject::uID() const {
  return fieldOf(record_, &OrvUserInfoModel::uID);
}

QString UserObject::nick() const {
  return fieldOf(record_, &OrvUserInfoModel::nick);
}

QString UserObject::phone() const {
  return fieldOf(record_, &OrvUserInfoModel::phone);
}

QString UserObject::pictureUrl() const {
  return fieldOf(record_, &OrvUserInfoModel::userpic);
}

QString UserObject::classroomID() const {
  return fieldOf(record_, &OrvUserInfoModel::classroom);
}

QString UserObject::classroomTitle() const {
  const auto classroom = record_ ? record_->classroominfo.get() : nullptr;
  return classroom ? text(classroom->title.get()) : QString();
}

}  // namespace orv::qt
