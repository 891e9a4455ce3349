#pragma once

#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/Record.h>

namespace orv {

/// A classroom: who owns it, how it looks, what it may hold, and how its account stands.
///
/// It comes with the reply to "Course.Room.Info" (see `QXUserInfoMgr::refreshClassroomInfo`) or inside a user. The
/// fields hold what the server sends, as it sends it: the library interprets none of them but `ID`, and a field that
/// the server leaves out stays absent, 0 or false. What stands here at a field is what its key says. Amounts, counts
/// and spans that are texts here take a number's decimal text (5 becomes "5"); flags take any number that is not 0
/// for true. Units of money and codes are the server's own.
///
/// The JSON key of each field is the field's name, with two exceptions: `m_description` is "description", and `ID` is
/// "id", or "ID" where there is no "id".
///
/// A classroom is equal to nothing but itself, and is not archived. Any thread, field by field; see `Record`.
class ORV_EXPORT OrvClassroomInfo final : public Record {
 public:
  /// When it was made.
  Property<OptionalString> addtime;
  /// Whether others than the owner may make courses in it.
  Property<bool> anybodyCreatable;

  /// The account of the classroom: what is on it, the same before fees, and what came by topping up.
  Property<OptionalString> balance;
  Property<OptionalString> balancePreFee;
  Property<std::int64_t> balanceTopup;

  /// The background picture: its media identifier and its address.
  Property<OptionalString> bgPicID;
  Property<OptionalString> bgPicUrl;

  /// The corporation that it belongs to.
  Property<OptionalString> corpID;
  Property<OptionalString> costs;
  /// Whether it is there to be tried out only.
  Property<bool> demo;
  /// What the classroom says of itself; the key is "description", a name that the text form of every record has.
  Property<OptionalString> m_description;

  /// When the classroom expires, and for how long it was taken.
  Property<std::int64_t> expirydate;
  Property<std::int64_t> expirydateDuration;

  /// How many follow it, and whether the user does.
  Property<OptionalString> followCnt;
  Property<OptionalString> followed;

  /// The picture at its head: its media identifier and its address.
  Property<OptionalString> headPicID;
  Property<OptionalString> headPicUrl;

  /// The classroom's identifier, which `OrvUserInfoModel::classroom` repeats; read from "id", else from "ID", and
  /// written as "id".
  Property<OptionalString> ID;
  Property<OptionalString> income;
  /// Whether a corporation runs it.
  Property<bool> isCorp;
  /// How many licences it has; `usenum` of them are in use and `remainnum` are left.
  Property<std::int64_t> licensenum;
  /// Whether courses may be live in it.
  Property<bool> liveEnable;
  /// A code of the server's. A number beyond 32 bits loses its upper ones.
  Property<std::int32_t> keltoFlag;
  Property<OptionalString> phone;
  /// Media identifier of the picture with the code that leads to the classroom.
  Property<OptionalString> qrPicID;
  /// What is left of the time that may be spent live.
  Property<OptionalString> remainderDuration;
  Property<OptionalString> remainnum;
  Property<OptionalString> status;
  /// How far the examination of what was handed in has come.
  Property<OptionalString> submitAuditStatus;
  Property<OptionalString> teacherCnt;
  /// Another count of teachers, under a key that is spelled as the server spells it.
  Property<OptionalString> terchernum;
  Property<OptionalString> title;

  /// What was spent live, and earned, today.
  Property<OptionalString> todayDuration;
  Property<OptionalString> todayIncome;

  Property<OptionalString> topup;
  Property<OptionalString> tvSeriesID;
  /// Identifier of the user who owns it.
  Property<OptionalString> uID;
  Property<OptionalString> usenum;
  /// Whether it is the classroom that the user is in.
  Property<bool> current;
  /// What the user is in it; a code of the server's.
  Property<std::int64_t> role;

  /// Whether the classroom is closed to the user. No classroom is: always false.
  bool isForbidden() const { return false; }

  /// The fields in the order of their declaration; one table for all classrooms.
  static const RecordTable& table();
  const RecordTable& fields() const override { return table(); }
};

}  // namespace orv
