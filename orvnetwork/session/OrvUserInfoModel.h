#pragma once

#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/Record.h>
#include <orvnetwork/session/OrvClassroomInfo.h>
#include <orvnetwork/session/OrvOtherDeviceLoginInfo.h>

#include <memory>

namespace orv {

/// The user who is signed in.
///
/// The host fills it from the reply to a log-in (`makeRecord<OrvUserInfoModel>(…)`) and stores it with
/// `QXUserInfoMgr::setUserInfo`; each renewal of the session merges what the server sends into the same record. The
/// JSON key of each field is the field's name. What looks like a number but is a text here (the counters among them)
/// takes a number's decimal text. Codes and switches are the server's own and are kept as they come.
///
/// Users are equal when all their fields are. Two users that hold classroom records of their own are not equal, since
/// a classroom is equal to nothing but itself. Any thread, field by field; see `Record`.
class ORV_EXPORT OrvUserInfoModel final : public Record {
 public:
  /// Identifier of the user's video.
  Property<OptionalString> videoID;
  /// A switch of the server's.
  Property<std::int64_t> white;
  /// Address of the picture; `pictureID` is its media identifier.
  Property<OptionalString> userpic;
  Property<OptionalString> province;
  /// Identifier of the classroom that the user is in, whose record is `classroominfo`. Together with `uID` it says
  /// which catalogue of courses is open.
  Property<OptionalString> classroom;
  /// Kind of the corporation; a code of the server's.
  Property<std::int64_t> corpType;
  Property<OptionalString> pictureID;
  /// The corporation that the user belongs to.
  Property<std::int64_t> corpID;
  /// How many the user follows.
  Property<OptionalString> followCnt;
  /// The user's identifier. By it a late reply is told to be another user's.
  Property<OptionalString> uID;
  Property<OptionalString> city;
  /// What the user says of themselves.
  Property<OptionalString> bio;
  /// How many follow the user.
  Property<OptionalString> fansCnt;
  Property<OptionalString> onlineID;
  /// A switch of the server's.
  Property<std::int64_t> tvEnable;
  /// How many coins the user has.
  Property<OptionalString> mcoin;
  /// Media identifier of the cover.
  Property<OptionalString> coverID;
  /// A code of the server's.
  Property<std::uint64_t> gender;
  /// The token of the sign-in, with which the session is renewed. It is a secret: see `hideSecrets`.
  Property<OptionalString> token;
  /// Nickname.
  Property<OptionalString> nick;
  /// Mobile number.
  Property<OptionalString> phone;
  /// The classroom; null until it has been fetched. Copies of the user share it.
  Property<std::shared_ptr<OrvClassroomInfo>> classroominfo;
  /// A code of the server's.
  Property<std::int64_t> role;
  /// A switch of the server's.
  Property<std::int64_t> subscriptionFlag;
  /// Identifier of the last notification that the user got, and how many there are.
  Property<OptionalString> lastNotiUID;
  Property<OptionalString> notifyCnt;
  /// What the same account does on another device; null when the server has not told. Copies of the user share it.
  Property<std::shared_ptr<OrvOtherDeviceLoginInfo>> otherDeviceLogin;
  /// Whether the user teaches; a switch of the server's.
  Property<std::int64_t> teacher;

  /// The fields in the order of their declaration; one table for all users.
  static const RecordTable& table();
  const RecordTable& fields() const override { return table(); }

  /// Equal when the other one is a user and all fields are equal, nested records by their own equality; then the
  /// hashes are, too.
  bool isEqual(const Record* other) const override;
  std::size_t hash() const override { return hashOfAllFields(*this); }
  /// A copy, field by field; the nested records are shared with it.
  std::shared_ptr<OrvUserInfoModel> copyWithZone() const;

  /// Users go into archives, without their classrooms, which do not.
  bool isArchivable() const override { return true; }
  /// A new user from what `encodeWithCoder` wrote. Fields that the archive does not hold are absent or 0; so is
  /// `classroominfo`.
  static std::shared_ptr<OrvUserInfoModel> initWithCoder(const KeyedArchive& archive);
};

}  // namespace orv
