#include "bench/peers/server/Connection.h"

#include "bench/peers/server/Handshake.h"
#include "bench/peers/support/Texts.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace peers {

namespace {

constexpr std::size_t kRoom = std::size_t{1} << 20;
constexpr std::size_t kPushesAtOnce = 32;
/// Such a push has 3 KB of text, and ten times as much when each number has become a value.
constexpr std::size_t kZerosOfPush = 1'480;

namespace opcode {
constexpr unsigned char kText = 1;
constexpr unsigned char kClose = 8;
constexpr unsigned char kPing = 9;
constexpr unsigned char kPong = 10;
}  // namespace opcode

/// Reads `count` bytes as one number, the highest first.
std::uint64_t number(const char* bytes, std::size_t count) {
  std::uint64_t value = 0;
  for (std::size_t at = 0; at < count; ++at) value = value << 8 | static_cast<unsigned char>(bytes[at]);
  return value;
}

std::string pushText(std::size_t number) {
  std::string text = R"({"C":"Rooms.Push.Message","v":{"number":)" + std::to_string(number) + R"(,"data":[0)";
  for (std::size_t at = 1; at < kZerosOfPush; ++at) text += ",0";
  return text + "]}}";
}

}  // namespace

Connection::Connection(int socket, std::size_t pushes)
    : socket_(socket), pushes_(pushes), in_(std::make_unique<char[]>(kRoom)) {}

Connection::~Connection() {
  ::close(socket_);
}

bool Connection::read() {
  const ssize_t got = ::recv(socket_, in_.get() + held_, kRoom - held_, 0);
  if (got < 0) return errno == EAGAIN || errno == EINTR;
  if (got == 0) return false;
  held_ += static_cast<std::size_t>(got);
  const std::size_t taken = takeAll();
  held_ -= taken;
  if (held_ > 0 && taken > 0) std::memmove(in_.get(), in_.get() + taken, held_);
  return write() && !over_ && held_ < kRoom;
}

bool Connection::write() {
  if (written_ == out_.size() && pushing_) addPushes();
  while (written_ < out_.size()) {
    const ssize_t sent = ::send(socket_, out_.data() + written_, out_.size() - written_, MSG_NOSIGNAL);
    if (sent < 0) return errno == EAGAIN || errno == EINTR;
    written_ += static_cast<std::size_t>(sent);
  }
  out_.clear();
  written_ = 0;
  return true;
}

std::size_t Connection::takeAll() {
  if (kind_ == Kind::Unknown) {
    kind_ = std::string_view(in_.get(), held_).starts_with("GET ") ? Kind::WebSocket : Kind::Plain;
    if (kind_ == Kind::WebSocket) return takeHandshake();
  }
  std::size_t taken = 0;
  if (kind_ == Kind::Plain) {
    for (; held_ - taken >= kRequestBytes; taken += kRequestBytes) {
      replies_.addPlain(out_, {in_.get() + taken, kRequestBytes});
    }
    return taken;
  }
  while (!over_) {
    const std::size_t frame = takeFrame(in_.get() + taken, held_ - taken);
    if (frame == 0) break;
    taken += frame;
  }
  return taken;
}

std::size_t Connection::takeHandshake() {
  const std::string_view come(in_.get(), held_);
  const auto end = come.find("\r\n\r\n");
  if (end == std::string_view::npos) {
    kind_ = Kind::Unknown;
    return 0;
  }
  out_ += answerToHandshake(come.substr(0, end + 2));
  over_ = out_.empty();
  return end + 4;
}

std::size_t Connection::takeFrame(char* bytes, std::size_t size) {
  constexpr std::size_t kKey = 4;
  if (size < 2) return 0;
  const auto first = static_cast<unsigned char>(bytes[0]);
  const auto second = static_cast<unsigned char>(bytes[1]);
  const std::size_t shortLength = second & 0x7f;
  const std::size_t lengthBytes = shortLength == 126 ? 2 : shortLength == 127 ? 8 : 0;
  const std::size_t head = 2 + lengthBytes + kKey;
  if (size < head) return 0;
  const std::uint64_t length = lengthBytes == 0 ? shortLength : number(bytes + 2, lengthBytes);
  // No peer of these sends fragments, or frames that are not masked or larger than the room.
  if ((first & 0xf0) != 0x80 || (second & 0x80) == 0 || length > kRoom - head) {
    over_ = true;
    return 0;
  }
  if (size < head + length) return 0;
  unmask(bytes + head, length, bytes + head - kKey);
  takeMessage(static_cast<unsigned char>(first & 0x0f), bytes + head, length);
  return head + length;
}

void Connection::takeMessage(unsigned char kind, const char* payload, std::size_t size) {
  const std::string_view text(payload, size);
  if (kind == opcode::kText && text == "PING") {
    addFrame(out_, opcode::kText, "PONG");
    pushing_ = pushes_ > 0;
  } else if (kind == opcode::kText) {
    if (size != kRequestBytes) std::fprintf(stderr, "a request of %zu bytes\n", size);
    replies_.addFramed(out_, text);
  } else if (kind == opcode::kPing) {
    addFrame(out_, opcode::kPong, text);
  } else if (kind == opcode::kClose) {
    addFrame(out_, opcode::kClose, text);
    over_ = true;
  }
}

void Connection::addPushes() {
  for (std::size_t count = 0; count < kPushesAtOnce && pushed_ < pushes_; ++count) {
    addFrame(out_, opcode::kText, pushText(pushed_++));
  }
}

}  // namespace peers
