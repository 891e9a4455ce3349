#pragma once

#include <orvnetwork/data/Record.h>

namespace orv {

/// A user's WeChat profile, with the keys under which WeChat returns it. Equal to nothing but itself, and not
/// archived.
class ORV_EXPORT WXUserInfoModel final : public Record {
 public:
  Property<OptionalString> openid;
  Property<OptionalString> city;
  Property<OptionalString> country;
  Property<OptionalString> nickname;
  Property<std::optional<json::array>> privilege;
  Property<OptionalString> language;
  Property<OptionalString> headimgurl;
  Property<OptionalString> unionid;
  Property<std::int64_t> sex;
  Property<OptionalString> province;

  static const RecordTable& table();
  const RecordTable& fields() const override { return table(); }
};

}  // namespace orv
