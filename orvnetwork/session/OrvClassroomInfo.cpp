#include "orvnetwork/session/OrvClassroomInfo.h"

#include <orvnetwork/data/RecordField.h>

namespace orv {

const RecordTable& OrvClassroomInfo::table() {
  static const auto& fields = *new RecordTable({
      recordField<&OrvClassroomInfo::addtime>("addtime"),
      recordField<&OrvClassroomInfo::anybodyCreatable>("anybodyCreatable"),
      recordField<&OrvClassroomInfo::balance>("balance"),
      recordField<&OrvClassroomInfo::balancePreFee>("balancePreFee"),
      recordField<&OrvClassroomInfo::balanceTopup>("balanceTopup"),
      recordField<&OrvClassroomInfo::bgPicID>("bgPicID"),
      recordField<&OrvClassroomInfo::bgPicUrl>("bgPicUrl"),
      recordField<&OrvClassroomInfo::corpID>("corpID"),
      recordField<&OrvClassroomInfo::costs>("costs"),
      recordField<&OrvClassroomInfo::demo>("demo"),
      recordField<&OrvClassroomInfo::m_description>("m_description", {"description"}),
      recordField<&OrvClassroomInfo::expirydate>("expirydate"),
      recordField<&OrvClassroomInfo::expirydateDuration>("expirydateDuration"),
      recordField<&OrvClassroomInfo::followCnt>("followCnt"),
      recordField<&OrvClassroomInfo::followed>("followed"),
      recordField<&OrvClassroomInfo::headPicID>("headPicID"),
      recordField<&OrvClassroomInfo::headPicUrl>("headPicUrl"),
      recordField<&OrvClassroomInfo::ID>("ID", {"id", "ID"}),
      recordField<&OrvClassroomInfo::income>("income"),
      recordField<&OrvClassroomInfo::isCorp>("isCorp"),
      recordField<&OrvClassroomInfo::licensenum>("licensenum"),
      recordField<&OrvClassroomInfo::liveEnable>("liveEnable"),
      recordField<&OrvClassroomInfo::keltoFlag>("keltoFlag"),
      recordField<&OrvClassroomInfo::phone>("phone"),
      recordField<&OrvClassroomInfo::qrPicID>("qrPicID"),
      recordField<&OrvClassroomInfo::remainderDuration>("remainderDuration"),
      recordField<&OrvClassroomInfo::remainnum>("remainnum"),
      recordField<&OrvClassroomInfo::status>("status"),
      recordField<&OrvClassroomInfo::submitAuditStatus>("submitAuditStatus"),
      recordField<&OrvClassroomInfo::teacherCnt>("teacherCnt"),
      recordField<&OrvClassroomInfo::terchernum>("terchernum"),
      recordField<&OrvClassroomInfo::title>("title"),
      recordField<&OrvClassroomInfo::todayDuration>("todayDuration"),
      recordField<&OrvClassroomInfo::todayIncome>("todayIncome"),
      recordField<&OrvClassroomInfo::topup>("topup"),
      recordField<&OrvClassroomInfo::tvSeriesID>("tvSeriesID"),
      recordField<&OrvClassroomInfo::uID>("uID"),
      recordField<&OrvClassroomInfo::usenum>("usenum"),
      recordField<&OrvClassroomInfo::current>("current"),
      recordField<&OrvClassroomInfo::role>("role"),
  });
  return fields;
}

}  // namespace orv
