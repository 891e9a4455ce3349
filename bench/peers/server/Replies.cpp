#include "bench/peers/server/Replies.h"

#include "bench/peers/support/Texts.h"

#include <cstdint>
#include <cstring>

namespace peers {

namespace {

constexpr unsigned char kLast = 0x80;
constexpr unsigned char kText = 1;

std::string framedText(std::string_view text) {
  std::string frame;
  addFrame(frame, kText, text);
  return frame;
}

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

/// The digits of "s", which is text in some requests and a number in others.
std::string_view identifierOf(std::string_view request) {
  const auto key = request.find(R"("s")");
  if (key == std::string_view::npos) return "0";
  std::size_t first = key + 3;
  while (first < request.size() && !isDigit(request[first])) ++first;
  std::size_t end = first;
  while (end < request.size() && isDigit(request[end])) ++end;
  return request.substr(first, end - first);
}

}  // namespace

void addFrame(std::string& out, unsigned char opcode, std::string_view payload) {
  out += static_cast<char>(kLast | opcode);
  if (payload.size() < 126) {
    out += static_cast<char>(payload.size());
  } else if (payload.size() <= 0xffff) {
    out += static_cast<char>(126);
    out += static_cast<char>(payload.size() >> 8);
    out += static_cast<char>(payload.size() & 0xff);
  } else {
    out += static_cast<char>(127);
    for (int shift = 56; shift >= 0; shift -= 8) out += static_cast<char>((payload.size() >> shift) & 0xff);
  }
  out += payload;
}

void unmask(char* payload, std::size_t size, const char* key) {
  std::uint32_t once = 0;
  std::memcpy(&once, key, sizeof once);
  const std::uint64_t twice = once | static_cast<std::uint64_t>(once) << 32;
  std::size_t at = 0;
  for (; at + sizeof twice <= size; at += sizeof twice) {
    std::uint64_t word = 0;
    std::memcpy(&word, payload + at, sizeof word);
    word ^= twice;
    std::memcpy(payload + at, &word, sizeof word);
  }
  for (; at < size; ++at) payload[at] = static_cast<char>(payload[at] ^ key[at % 4]);
}

Replies::Replies()
    : framed_(framedText(replyTo(std::string(kIdentifierDigits, '0')))),
      head_(framed_.size() - kReplyBytes) {}

void Replies::addFramed(std::string& out, std::string_view request) const {
  const std::string_view identifier = identifierOf(request);
  if (identifier.size() != kIdentifierDigits) return addFrame(out, kText, replyTo(identifier));
  const std::size_t at = out.size() + head_ + replyIdentifierAt();
  out += framed_;
  std::memcpy(out.data() + at, identifier.data(), kIdentifierDigits);
}

void Replies::addPlain(std::string& out, std::string_view request) const {
  const std::string_view identifier = identifierOf(request);
  const std::size_t at = out.size() + replyIdentifierAt();
  out.append(framed_, head_);
  if (identifier.size() != kIdentifierDigits) return;
  std::memcpy(out.data() + at, identifier.data(), kIdentifierDigits);
}

}  // namespace peers
