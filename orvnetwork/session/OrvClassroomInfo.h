#pragma once

#include <orvnetwork/data/Record.h>

namespace orv {

/// A classroom. The JSON key of each field is the field's name, with two exceptions: `m_description` is
/// "description", and `ID` is "id", or "ID" where there is no "id".
///
/// A classroom is equal to nothing but itself, and is not archived.
class ORV_EXPORT OrvClassroomInfo final : public Record {
 public:
  Property<OptionalString> addtime;
  Property<bool> anybodyCreatable;
  Property<OptionalString> balance;
  Property<OptionalString> balancePreFee;
  Property<std::int64_t> balanceTopup;
  Property<OptionalString> bgPicID;
  Property<OptionalString> bgPicUrl;
  Property<OptionalString> corpID;
  Property<OptionalString> costs;
  Property<bool> demo;
  Property<OptionalString> m_description;
  Property<std::int64_t> expirydate;
  Property<std::int64_t> expirydateDuration;
  Property<OptionalString> followCnt;
  Property<OptionalString> followed;
  Property<OptionalString> headPicID;
  Property<OptionalString> headPicUrl;
  Property<OptionalString> ID;
  Property<OptionalString> income;
  Property<bool> isCorp;
  Property<std::int64_t> licensenum;
  Property<bool> liveEnable;
  Property<std::int32_t> keltoFlag;
  Property<OptionalString> phone;
  Property<OptionalString> qrPicID;
  Property<OptionalString> remainderDuration;
  Property<OptionalString> remainnum;
  Property<OptionalString> status;
  Property<OptionalString> submitAuditStatus;
  Property<OptionalString> teacherCnt;
  Property<OptionalString> terchernum;  ///< spelled as the server spells it
  Property<OptionalString> title;
  Property<OptionalString> todayDuration;
  Property<OptionalString> todayIncome;
  Property<OptionalString> topup;
  Property<OptionalString> tvSeriesID;
  Property<OptionalString> uID;
  Property<OptionalString> usenum;
  Property<bool> current;
  Property<std::int64_t> role;

  /// Whether the classroom is closed to the user: no classroom is.
  bool isForbidden() const { return false; }

  static const RecordTable& table();
  const RecordTable& fields() const override { return table(); }
};

}  // namespace orv
