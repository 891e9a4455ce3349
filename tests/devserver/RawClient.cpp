#include "tests/devserver/RawClient.h"

#include <arpa/inet.h>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace orv::test {

namespace json = boost::json;

struct RawClient::Tls {
  std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context{SSL_CTX_new(TLS_client_method()), SSL_CTX_free};
  std::unique_ptr<SSL, decltype(&SSL_free)> stream{SSL_new(context.get()), SSL_free};
};

RawClient::RawClient(std::uint16_t port, bool tls, int receiveBuffer, const char* from, const char* to) {
  socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (receiveBuffer != 0) {
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  }
  const int one = 1;
  ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  if (from != nullptr) {
    address.sin_addr.s_addr = ::inet_addr(from);
    if (::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
      ::close(socket_);
      throw std::runtime_error("no such address here");
    }
  }
  address.sin_port = htons(port);
  address.sin_addr.s_addr = ::inet_addr(to);
  if (::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    ::close(socket_);
    throw std::runtime_error("no connection");
  }
  if (tls) {
    tls_ = std::make_unique<Tls>();
    SSL_set_fd(tls_->stream.get(), socket_);
    if (SSL_connect(tls_->stream.get()) != 1) throw std::runtime_error("no TLS");
  }
}

RawClient::~RawClient() {
  tls_.reset();
  if (socket_ >= 0) ::close(socket_);
}

RawClient::RawClient(RawClient&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)),
      tls_(std::move(other.tls_)),
      input_(std::move(other.input_)),
      end_(other.end_) {}

RawClient RawClient::open(std::uint16_t port, bool tls) {
  RawClient client(port, tls);
  const std::string head = client.shakeHands();
  EXPECT_NE(head.find("101"), std::string::npos) << head;
  EXPECT_NE(head.find("s3pPLMBiTxaQ9kYGzzhZRbK+xOo="), std::string::npos) << head;
  return client;
}

std::string RawClient::shakeHands(std::string_view extraHead) {
  trySendBytes(
      "GET / HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
      "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n" +
      std::string(extraHead) + "\r\n");
  return receiveUntil("\r\n\r\n");
}

void RawClient::sendBytes(std::string_view bytes) {
  ASSERT_TRUE(trySendBytes(bytes));
}

bool RawClient::trySendBytes(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = tls_ ? SSL_write(tls_->stream.get(), bytes.data(), static_cast<int>(bytes.size()))
                           : ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) {
      if (errno == ECONNRESET || errno == EPIPE) end_ = End::Reset;
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::string RawClient::frameBytes(int opcode, std::string_view payload) {
  constexpr std::array<unsigned char, 4> kMask{0x12, 0x9a, 0x5c, 0xe3};
  std::string bytes(1, static_cast<char>(0x80 | opcode));
  const std::size_t size = payload.size();
  const int lengthBytes = size < 126 ? 0 : size < 65'536 ? 2 : 8;
  bytes += static_cast<char>(0x80 | (lengthBytes == 0 ? size : lengthBytes == 2 ? 126u : 127u));
  for (int i = lengthBytes - 1; i >= 0; --i) bytes += static_cast<char>(size >> (8 * i));
  bytes.append(kMask.begin(), kMask.end());
  for (std::size_t i = 0; i < size; ++i) {
    bytes += static_cast<char>(static_cast<unsigned char>(payload[i]) ^ kMask[i % 4]);
  }
  return bytes;
}

void RawClient::sendFrame(int opcode, std::string_view payload) {
  sendBytes(frameBytes(opcode, payload));
}

bool RawClient::fill(std::chrono::steady_clock::time_point deadline) {
  if (end_ != End::None) return false;
  if (!tls_ || SSL_pending(tls_->stream.get()) == 0) {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd descriptor{socket_, POLLIN, 0};
    if (::poll(&descriptor, 1, static_cast<int>(std::max(left, milliseconds(0)).count())) <= 0) return false;
  }
  std::array<char, 65'536> chunk{};
  errno = 0;
  const auto size = tls_ ? SSL_read(tls_->stream.get(), chunk.data(), static_cast<int>(chunk.size()))
                         : ::recv(socket_, chunk.data(), chunk.size(), 0);
  if (size <= 0) {
    end_ = size < 0 && errno == ECONNRESET ? End::Reset : End::Fin;
    return false;
  }
  input_.append(chunk.data(), static_cast<std::size_t>(size));
  return true;
}

std::optional<RawClient::Message> RawClient::receive(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  auto need = [&](std::size_t size) {
    while (input_.size() < size) {
      if (!fill(deadline)) return false;
    }
    return true;
  };
  if (!need(2)) return std::nullopt;
  auto byte = [&](std::size_t i) { return static_cast<unsigned char>(input_[i]); };
  std::size_t size = byte(1) & 127u, head = 2;
  if (const std::size_t lengthBytes = size < 126 ? 0 : size == 126 ? 2 : 8; lengthBytes != 0) {
    if (!need(head + lengthBytes)) return std::nullopt;
    size = 0;
    for (std::size_t i = 0; i < lengthBytes; ++i) size = size << 8 | byte(head + i);
    head += lengthBytes;
  }
  if (!need(head + size)) return std::nullopt;
  Message message{byte(0) & 15, input_.substr(head, size)};
  input_.erase(0, head + size);
  return message;
}

std::string RawClient::receiveText(std::chrono::milliseconds timeout) {
  const auto message = receive(timeout);
  EXPECT_TRUE(message && message->opcode == 1) << (message ? "another kind of frame" : "no frame");
  return message && message->opcode == 1 ? message->payload : "";
}

json::object RawClient::receiveObject() {
  json::error_code error;
  const json::value value = json::parse(receiveText(), error);
  EXPECT_TRUE(!error && value.is_object());
  return value.is_object() ? value.get_object() : json::object();
}

std::string RawClient::receiveUntil(std::string_view end, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::size_t found = 0;
  while ((found = input_.find(end)) == std::string::npos) {
    if (!fill(deadline)) return "";
  }
  std::string text = input_.substr(0, found + end.size());
  input_.erase(0, text.size());
  return text;
}

std::string RawClient::receiveRest() {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (fill(deadline)) {
  }
  return std::exchange(input_, "");
}

RawClient::End RawClient::waitForEnd() {
  receiveRest();
  return end_;
}

std::string RawClient::standardFrame(std::string_view command, const json::object& values,
                                     std::string_view timestamp) {
  json::object frame;
  frame["c"] = json::string(command.data(), command.size());
  frame["r"] = "1";
  frame["s"] = json::string(timestamp.data(), timestamp.size());
  frame["v"] = values;
  return json::serialize(frame);
}

json::object RawClient::request(std::string_view command, const json::object& values,
                                std::string_view timestamp) {
  sendText(standardFrame(command, values, timestamp));
  return receiveObject();
}

std::string RawClient::http(std::uint16_t port, std::string_view method, std::string_view target,
                            std::string_view body, int& status, bool tls) {
  RawClient client(port, tls);
  client.sendBytes(std::string(method) + " " + std::string(target) + " HTTP/1.1\r\nHost: localhost\r\n" +
                   "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body));
  const std::string head = client.receiveUntil("\r\n\r\n");
  status = head.size() > 12 ? std::stoi(head.substr(9, 3)) : 0;
  return client.receiveRest();
}

}  // namespace orv::test
