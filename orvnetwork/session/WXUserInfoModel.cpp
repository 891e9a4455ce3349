#include "orvnetwork/session/WXUserInfoModel.h"

#include <orvnetwork/data/RecordField.h>

namespace orv {

const RecordTable& WXUserInfoModel::table() {
  static const auto& fields = *new RecordTable({
      recordField<&WXUserInfoModel::openid>("openid"),
      recordField<&WXUserInfoModel::city>("city"),
      recordField<&WXUserInfoModel::country>("country"),
      recordField<&WXUserInfoModel::nickname>("nickname"),
      recordField<&WXUserInfoModel::privilege>("privilege"),
      recordField<&WXUserInfoModel::language>("language"),
      recordField<&WXUserInfoModel::headimgurl>("headimgurl"),
      recordField<&WXUserInfoModel::unionid>("unionid"),
      recordField<&WXUserInfoModel::sex>("sex"),
      recordField<&WXUserInfoModel::province>("province"),
  });
  return fields;
}

}  // namespace orv
