#pragma once

#include <orvnetwork/data/Record.h>
#include <orvnetwork/session/OrvClassroomInfo.h>
#include <orvnetwork/session/OrvOtherDeviceLoginInfo.h>

namespace orv {

/// The user who is signed in. The JSON key of each field is the field's name. What looks like a number but is a
/// text here (the counters among them) takes a number's decimal text.
///
/// Users are equal when all their fields are. Two users that hold classroom records of their own are not equal,
/// since a classroom is equal to nothing but itself.
class ORV_EXPORT OrvUserInfoModel final : public Record {
 public:
  Property<OptionalString> videoID;  ///< video of the user
  Property<std::int64_t> white;
  Property<OptionalString> userpic;  ///< address of the picture
  Property<OptionalString> province;
  Property<OptionalString> classroom;  ///< identifier of the classroom
  Property<std::int64_t> corpType;     ///< kind of the corporation, a code of the server's
  Property<OptionalString> pictureID;  ///< media identifier of the picture
  Property<std::int64_t> corpID;       ///< corporation
  Property<OptionalString> followCnt;  ///< how many the user follows
  Property<OptionalString> uID;        ///< user identifier
  Property<OptionalString> city;
  Property<OptionalString> bio;      ///< what the user says of themselves
  Property<OptionalString> fansCnt;  ///< how many follow the user
  Property<OptionalString> onlineID;
  Property<std::int64_t> tvEnable;
  Property<OptionalString> mcoin;                             ///< coins
  Property<OptionalString> coverID;                           ///< media identifier of the cover
  Property<std::uint64_t> gender;                             ///< a code of the server's
  Property<OptionalString> token;                             ///< token of the session
  Property<OptionalString> nick;                              ///< nickname
  Property<OptionalString> phone;                             ///< mobile number
  Property<std::shared_ptr<OrvClassroomInfo>> classroominfo;  ///< the classroom; shared by copies of the user
  Property<std::int64_t> role;                                ///< a code of the server's
  Property<std::int64_t> subscriptionFlag;
  Property<OptionalString> lastNotiUID;  ///< the last notification
  Property<OptionalString> notifyCnt;    ///< how many notifications
  Property<std::shared_ptr<OrvOtherDeviceLoginInfo>>
      otherDeviceLogin;            ///< what the same account does on another device
  Property<std::int64_t> teacher;  ///< whether the user teaches

  static const RecordTable& table();
  const RecordTable& fields() const override { return table(); }

  bool isEqual(const Record* other) const override;
  std::size_t hash() const override { return hashOfAllFields(*this); }
  /// A copy, field by field; the nested records are shared with it.
  std::shared_ptr<OrvUserInfoModel> copyWithZone() const;

  bool isArchivable() const override { return true; }
  /// The user of an archive, without a classroom: classrooms are not archived.
  static std::shared_ptr<OrvUserInfoModel> initWithCoder(const KeyedArchive& archive);
};

}  // namespace orv
