#pragma once

#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/Record.h>

#include <optional>

namespace orv {

/// A user's WeChat profile, with the keys under which WeChat returns it.
///
/// The host fills it from WeChat's answer (`makeRecord<WXUserInfoModel>(…)`) and may leave it with
/// `QXUserInfoMgr::setWxUserInfo`, which keeps it in memory only; what a sign-in by WeChat needs of it the host hands
/// to `QXAPIHelper`. Equal to nothing but itself, and not archived. Any thread, field by field; see `Record`.
class ORV_EXPORT WXUserInfoModel final : public Record {
 public:
  /// Who the user is to this application.
  Property<OptionalString> openid;
  Property<OptionalString> city;
  Property<OptionalString> country;
  Property<OptionalString> nickname;
  /// What the user is entitled to, as WeChat lists it.
  Property<std::optional<json::array>> privilege;
  Property<OptionalString> language;
  /// Address of the user's picture.
  Property<OptionalString> headimgurl;
  /// Who the user is to all applications of one maker.
  Property<OptionalString> unionid;
  /// A code of WeChat's.
  Property<std::int64_t> sex;
  Property<OptionalString> province;

  /// The fields in the order of their declaration; one table for all profiles.
  static const RecordTable& table();
  const RecordTable& fields() const override { return table(); }
};

}  // namespace orv
