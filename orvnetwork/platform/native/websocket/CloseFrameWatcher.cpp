#include "orvnetwork/platform/native/websocket/CloseFrameWatcher.h"

#include <algorithm>

namespace orv {

namespace {

constexpr std::uint8_t kOpcodeBits = 0x0f;
constexpr std::uint8_t kCloseOpcode = 8;
constexpr std::uint8_t kMaskBit = 0x80;
constexpr std::uint8_t kTwoByteLength = 126;
constexpr std::uint8_t kEightByteLength = 127;

}  // namespace

void CloseFrameWatcher::feed(const void* bytes, std::size_t size) {
  const auto* at = static_cast<const std::uint8_t*>(bytes);
  while (size > 0) {
    if (payloadLeft_ == 0) {
      header_[headerBytes_++] = *at++;
      --size;
      if (headerBytes_ == headerSize()) beginPayload();
      continue;
    }
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, payloadLeft_));
    for (std::size_t i = 0; inCloseFrame_ && codeBytes_ < 2 && i < count; ++i, ++codeBytes_) {
      code_ = code_ * 256 + at[i];
    }
    at += count;
    size -= count;
    payloadLeft_ -= count;
  }
}

std::size_t CloseFrameWatcher::headerSize() const {
  if (headerBytes_ < 2) return 2;
  const std::uint8_t length = header_[1] & ~kMaskBit;
  const std::size_t lengthBytes = length == kTwoByteLength ? 2 : length == kEightByteLength ? 8 : 0;
  return 2 + lengthBytes + ((header_[1] & kMaskBit) != 0 ? 4 : 0);
}

void CloseFrameWatcher::beginPayload() {
  const std::uint8_t length = header_[1] & ~kMaskBit;
  const std::size_t lengthBytes = length == kTwoByteLength ? 2 : length == kEightByteLength ? 8 : 0;
  payloadLeft_ = lengthBytes == 0 ? length : 0;
  for (std::size_t i = 0; i < lengthBytes; ++i) payloadLeft_ = payloadLeft_ * 256 + header_[2 + i];
  headerBytes_ = 0;
  inCloseFrame_ = (header_[0] & kOpcodeBits) == kCloseOpcode;
  if (inCloseFrame_) {
    code_ = 0;
    codeBytes_ = 0;
  }
}

}  // namespace orv
