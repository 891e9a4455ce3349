#pragma once

#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/Record.h>

#include <memory>

namespace orv {

/// What the same account does on another device, as the server tells it when the session is renewed.
///
/// It lies in `OrvUserInfoModel::otherDeviceLogin`. When either field is true after a renewal, the user manager posts
/// `QXNotificationOtherUserLoggedIn`. Any thread, field by field; see `Record`.
class ORV_EXPORT OrvOtherDeviceLoginInfo final : public Record {
 public:
  /// The account is signed in there.
  Property<bool> isLogin;
  /// It is live there; any number but 0 counts as true.
  Property<bool> liveStatus;

  /// The fields in the order of their declaration; one table for all records of the class.
  static const RecordTable& table();
  const RecordTable& fields() const override { return table(); }

  /// Equal when the other one is of this class and both fields are equal; then the hashes are, too.
  bool isEqual(const Record* other) const override;
  std::size_t hash() const override { return hashOfAllFields(*this); }
  /// A new record with the same fields.
  std::shared_ptr<OrvOtherDeviceLoginInfo> copyWithZone() const;

  /// Records of this class go into archives, alone and inside a user.
  bool isArchivable() const override { return true; }
  /// A new record from what `encodeWithCoder` wrote; a field that the archive does not hold is false.
  static std::shared_ptr<OrvOtherDeviceLoginInfo> initWithCoder(const KeyedArchive& archive);
};

}  // namespace orv
