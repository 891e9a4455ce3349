#pragma once

#include <orvnetwork/data/Record.h>

namespace orv {

/// What the same account does on another device. Equal when both fields are.
class ORV_EXPORT OrvOtherDeviceLoginInfo final : public Record {
 public:
  Property<bool> isLogin;     ///< the account is signed in there
  Property<bool> liveStatus;  ///< it is live there

  static const RecordTable& table();
  const RecordTable& fields() const override { return table(); }

  bool isEqual(const Record* other) const override;
  std::size_t hash() const override { return hashOfAllFields(*this); }
  std::shared_ptr<OrvOtherDeviceLoginInfo> copyWithZone() const;

  bool isArchivable() const override { return true; }
  static std::shared_ptr<OrvOtherDeviceLoginInfo> initWithCoder(const KeyedArchive& archive);
};

}  // namespace orv
