#include "orvnetwork/session/OrvOtherDeviceLoginInfo.h"

#include <orvnetwork/data/RecordField.h>

#include <memory>

namespace orv {

const RecordTable& OrvOtherDeviceLoginInfo::table() {
  static const auto& fields = *new RecordTable({
      recordField<&OrvOtherDeviceLoginInfo::isLogin>("isLogin"),
      recordField<&OrvOtherDeviceLoginInfo::liveStatus>("liveStatus"),
  });
  return fields;
}

bool OrvOtherDeviceLoginInfo::isEqual(const Record* other) const {
  return other != nullptr && allFieldsEqual(*this, *other);
}

std::shared_ptr<OrvOtherDeviceLoginInfo> OrvOtherDeviceLoginInfo::copyWithZone() const {
  auto copy = std::make_shared<OrvOtherDeviceLoginInfo>();
  copyAllFields(*this, *copy);
  return copy;
}

std::shared_ptr<OrvOtherDeviceLoginInfo> OrvOtherDeviceLoginInfo::initWithCoder(const KeyedArchive& archive) {
  auto device = std::make_shared<OrvOtherDeviceLoginInfo>();
  device->decode(archive);
  return device;
}

}  // namespace orv
