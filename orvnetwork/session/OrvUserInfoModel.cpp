#include "orvnetwork/session/OrvUserInfoModel.h"

#include <orvnetwork/data/RecordField.h>

#include <memory>

namespace orv {

const RecordTable& OrvUserInfoModel::table() {
  static const auto& fields = *new RecordTable({
      recordField<&OrvUserInfoModel::videoID>("videoID"),
      recordField<&OrvUserInfoModel::white>("white"),
      recordField<&OrvUserInfoModel::userpic>("userpic"),
      recordField<&OrvUserInfoModel::province>("province"),
      recordField<&OrvUserInfoModel::classroom>("classroom"),
      recordField<&OrvUserInfoModel::corpType>("corpType"),
      recordField<&OrvUserInfoModel::pictureID>("pictureID"),
      recordField<&OrvUserInfoModel::corpID>("corpID"),
      recordField<&OrvUserInfoModel::followCnt>("followCnt"),
      recordField<&OrvUserInfoModel::uID>("uID"),
      recordField<&OrvUserInfoModel::city>("city"),
      recordField<&OrvUserInfoModel::bio>("bio"),
      recordField<&OrvUserInfoModel::fansCnt>("fansCnt"),
      recordField<&OrvUserInfoModel::onlineID>("onlineID"),
      recordField<&OrvUserInfoModel::tvEnable>("tvEnable"),
      recordField<&OrvUserInfoModel::mcoin>("mcoin"),
      recordField<&OrvUserInfoModel::coverID>("coverID"),
      recordField<&OrvUserInfoModel::gender>("gender"),
      recordField<&OrvUserInfoModel::token>("token"),
      recordField<&OrvUserInfoModel::nick>("nick"),
      recordField<&OrvUserInfoModel::phone>("phone"),
      recordField<&OrvUserInfoModel::classroominfo>("classroominfo"),
      recordField<&OrvUserInfoModel::role>("role"),
      recordField<&OrvUserInfoModel::subscriptionFlag>("subscriptionFlag"),
      recordField<&OrvUserInfoModel::lastNotiUID>("lastNotiUID"),
      recordField<&OrvUserInfoModel::notifyCnt>("notifyCnt"),
      recordField<&OrvUserInfoModel::otherDeviceLogin>("otherDeviceLogin"),
      recordField<&OrvUserInfoModel::teacher>("teacher"),
  });
  return fields;
}

bool OrvUserInfoModel::isEqual(const Record* other) const {
  return other != nullptr && allFieldsEqual(*this, *other);
}

std::shared_ptr<OrvUserInfoModel> OrvUserInfoModel::copyWithZone() const {
  auto copy = std::make_shared<OrvUserInfoModel>();
  copyAllFields(*this, *copy);
  return copy;
}

std::shared_ptr<OrvUserInfoModel> OrvUserInfoModel::initWithCoder(const KeyedArchive& archive) {
  auto user = std::make_shared<OrvUserInfoModel>();
  user->decode(archive);
  return user;
}

}  // namespace orv
