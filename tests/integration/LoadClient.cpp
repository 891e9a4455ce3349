#include <tests/integration/LoadClient.h>
#include <tests/support/RawPeer.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace orv::test {

namespace {

constexpr std::string_view kHandshake =
    "GET / HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";

void resetAtClose(int descriptor) {
  const linger now{1, 0};
  ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &now, sizeof now);
}

}  // namespace

void LoadClient::connect(std::uint16_t port) {
  disconnect();
  socket_ = FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int one = 1;
  ::setsockopt(socket_.get(), IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    throw std::system_error(errno, std::generic_category(), "connect");
  }
  ::fcntl(socket_.get(), F_SETFL, O_NONBLOCK);
  output_ = kHandshake;
  flush();
}

void LoadClient::disconnect() {
  socket_ = FileDescriptor();
  input_.clear();
  output_.clear();
  read_ = 0;
  open_ = false;
}

void LoadClient::breakOff(Break how) {
  switch (how) {
    case Break::Reset:
      resetAtClose(socket_.get());
      [[fallthrough]];
    case Break::Fin:
      return disconnect();
    case Break::HalfFrame: {
      const std::string frame = frameBytes(opcode::kText, std::string(500, 'x'), 0x80, true);
      output_ += frame.substr(0, frame.size() / 2);
      flush();
      return disconnect();
    }
    case Break::RandomBytes:
      output_ += "\xf7\x13\x88 no frame whatever follows";
      break;
    case Break::Unmasked:
      output_ += frameBytes(opcode::kText, "PING", 0x80, false);
      break;
    case Break::NotUtf8:
      output_ += frameBytes(opcode::kText, "\xff\xfe", 0x80, true);
      break;
  }
  flush();
}

void LoadClient::send(int opcode, std::string_view payload) {
  output_ += frameBytes(opcode, payload, 0x80, true);
  flush();
}

bool LoadClient::flush() {
  while (!output_.empty()) {
    const auto sent = ::send(socket_.get(), output_.data(), output_.size(), MSG_NOSIGNAL);
    if (sent < 0) return errno == EAGAIN;
    output_.erase(0, static_cast<std::size_t>(sent));
  }
  return true;
}

bool LoadClient::fill() {
  std::array<char, 65'536> chunk;
  for (;;) {
    const auto size = ::recv(socket_.get(), chunk.data(), chunk.size(), 0);
    if (size < 0) return errno == EAGAIN;
    if (size == 0) return false;
    input_.append(chunk.data(), static_cast<std::size_t>(size));
    if (static_cast<std::size_t>(size) < chunk.size()) return true;
  }
}

bool LoadClient::work() {
  if (!flush() || !fill()) return false;
  if (open_) return true;
  constexpr std::string_view kEnd = "\r\n\r\n";
  const std::size_t end = input_.find(kEnd);
  if (end == std::string::npos) return true;
  if (!input_.starts_with("HTTP/1.1 101")) throw std::runtime_error("refused: " + input_);
  read_ = end + kEnd.size();
  open_ = true;
  return true;
}

std::optional<LoadClient::Message> LoadClient::next() {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(input_[read_ + i]); };
  const std::size_t there = input_.size() - read_;
  std::size_t head = 2;
  if (open_ && there >= head) {
    std::size_t size = byte(1) & 127u;
    const std::size_t lengthBytes = size < 126 ? 0 : size == 126 ? 2 : 8;
    head += lengthBytes;
    if (there >= head) {
      if (lengthBytes > 0) size = 0;
      for (std::size_t i = 0; i < lengthBytes; ++i) size = size << 8 | byte(2 + i);
      if (there >= head + size) {
        Message message{byte(0) & 15, input_.substr(read_ + head, size)};
        read_ += head + size;
        return message;
      }
    }
  }
  input_.erase(0, std::exchange(read_, 0));
  return std::nullopt;
}

}  // namespace orv::test
