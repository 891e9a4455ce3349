#include <tests/support/BoundSocket.h>
#include <tests/support/RawPeer.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace orv::test {

namespace {

constexpr int kPatienceMilliseconds = 30'000;

[[noreturn]] void throwErrno(const char* what) {
  throw std::system_error(errno, std::system_category(), what);
}

std::string bigEndian(std::uint64_t value, int bytes) {
  std::string out;
  for (int i = bytes - 1; i >= 0; --i) out += static_cast<char>(value >> (8 * i) & 0xff);
  return out;
}

std::uint64_t fromBigEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char c : bytes) value = value * 256 + static_cast<unsigned char>(c);
  return value;
}

void applyMask(std::string& payload, std::string_view key) {
  for (std::size_t i = 0; i < payload.size(); ++i) payload[i] = static_cast<char>(payload[i] ^ key[i % 4]);
}

void waitForDescriptor(int descriptor, short events) {
  pollfd watched{descriptor, events, 0};
  const int count = poll(&watched, 1, kPatienceMilliseconds);
  if (count < 0) throwErrno("poll");
  if (count == 0) throw std::runtime_error("the client kept the peer waiting too long");
}

std::string headerValue(std::string_view request, std::string_view name) {
  const std::size_t at = request.find("\r\n" + std::string(name) + ": ");
  if (at == std::string_view::npos) throw std::runtime_error("no such header: " + std::string(name));
  const std::size_t begin = at + name.size() + 4;
  return std::string(request.substr(begin, request.find("\r\n", begin) - begin));
}

}  // namespace

int RawFrame::closeCode() const {
  return payload.size() < 2 ? 0 : static_cast<int>(fromBigEndian(payload.substr(0, 2)));
}

std::string frameBytes(int op, std::string_view payload, int firstBits, bool masked) {
  std::string frame(1, static_cast<char>(firstBits | op));
  const int maskBit = masked ? 0x80 : 0;
  if (payload.size() < 126) {
    frame += static_cast<char>(maskBit | static_cast<int>(payload.size()));
  } else if (payload.size() < 65536) {
    frame += static_cast<char>(maskBit | 126);
    frame += bigEndian(payload.size(), 2);
  } else {
    frame += static_cast<char>(maskBit | 127);
    frame += bigEndian(payload.size(), 8);
  }
  std::string body(payload);
  if (masked) {
    frame += "mask";
    applyMask(body, "mask");
  }
  return frame + body;
}

std::string closePayload(int code, std::string_view reason) {
  return bigEndian(static_cast<std::uint64_t>(code), 2) + std::string(reason);
}

void RawPeer::FreeTls::operator()(ssl_st* session) const {
  SSL_free(session);
}

bool RawPeer::acceptTls(ssl_ctx_st* context) {
  tls_.reset(SSL_new(context));
  timeval limit{kPatienceMilliseconds / 1000, 0};
  setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  SSL_set_fd(tls_.get(), socket_.get());
  if (SSL_accept(tls_.get()) == 1) return true;
  tls_.reset();
  return false;
}

std::string RawPeer::readRequest() {
  std::string request;
  while (!request.ends_with("\r\n\r\n")) {
    const std::string byte = readBytes(1);
    if (byte.empty()) throw std::runtime_error("the client ended the stream during its request");
    request += byte;
  }
  return request;
}

std::string RawPeer::agreement(std::string_view request, std::string_view moreHeaders) {
  const std::string text = headerValue(request, "Sec-WebSocket-Key") + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
  std::array<unsigned char, SHA_DIGEST_LENGTH> digest{};
  EVP_Digest(text.data(), text.size(), digest.data(), nullptr, EVP_sha1(), nullptr);
  std::array<unsigned char, 32> encoded{};
  const int length = EVP_EncodeBlock(encoded.data(), digest.data(), static_cast<int>(digest.size()));
  return "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
         "Sec-WebSocket-Accept: " +
         std::string(encoded.begin(), encoded.begin() + length) + "\r\n" + std::string(moreHeaders) + "\r\n";
}

void RawPeer::acceptHandshake(std::string_view extra) {
  send(agreement(readRequest()) + std::string(extra));
}

void RawPeer::send(std::string_view bytes) {
  while (!bytes.empty()) {
    waitFor(POLLOUT);
    const auto size =
        tls_ != nullptr
            ? static_cast<ssize_t>(SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size())))
            : ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (size < 0 && errno == EAGAIN) continue;
    if (size <= 0) throwErrno("send");
    bytes.remove_prefix(static_cast<std::size_t>(size));
  }
}

void RawPeer::sendOneByOne(std::string_view bytes) {
  const int yes = 1;
  setsockopt(socket_.get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
  for (const char byte : bytes) send({&byte, 1});
}

std::optional<RawFrame> RawPeer::readFrame() {
  const std::string first = readBytes(2);
  if (first.size() < 2) return std::nullopt;
  RawFrame frame;
  frame.opcode = first[0] & 0x0f;
  frame.fin = (first[0] & 0x80) != 0;
  frame.masked = (first[1] & 0x80) != 0;
  std::uint64_t size = static_cast<unsigned char>(first[1] & 0x7f);
  if (size == 126) {
    size = fromBigEndian(readBytes(2));
  } else if (size == 127) {
    size = fromBigEndian(readBytes(8));
  }
  const std::string key = frame.masked ? readBytes(4) : "";
  frame.payload = readBytes(size);
  if (frame.payload.size() < size) return std::nullopt;
  if (frame.masked) applyMask(frame.payload, key);
  return frame;
}

std::string RawPeer::readOnce() {
  std::string bytes(64 << 10, '\0');
  bytes.resize(readSome(bytes.data(), bytes.size()));
  return bytes;
}

bool RawPeer::readEnd() {
  return readBytes(1).empty();
}

void RawPeer::close() {
  if (tls_ != nullptr) SSL_shutdown(tls_.get());
  socket_.close();
}

void RawPeer::reset() {
  const linger hard{1, 0};
  setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
  socket_.close();
}

std::string RawPeer::readBytes(std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t have = 0;
  while (have < size) {
    const std::size_t count = readSome(bytes.data() + have, size - have);
    if (count == 0) break;
    have += count;
  }
  bytes.resize(have);
  return bytes;
}

std::size_t RawPeer::readSome(char* into, std::size_t size) {
  if (tls_ != nullptr) {
    if (SSL_pending(tls_.get()) == 0) waitFor(POLLIN);
    const int count = SSL_read(tls_.get(), into, static_cast<int>(std::min<std::size_t>(size, 1 << 20)));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  waitFor(POLLIN);
  const ssize_t count = ::recv(socket_.get(), into, size, 0);
  if (count < 0 && errno != ECONNRESET) throwErrno("recv");
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void RawPeer::waitFor(short events) {
  waitForDescriptor(socket_.get(), events);
}

RawListener::RawListener(bool listening, int family, const char* host) {
  BoundSocket bound(family, host);
  if (listening && listen(bound.socket.get(), 16) != 0) throwErrno("listen");
  socket_ = std::move(bound.socket);
  port_ = bound.port;
}

std::string RawListener::url(std::string_view path, std::string_view scheme, std::string_view host) const {
  return std::string(scheme) + "://" + std::string(host) + ":" + std::to_string(port_) + std::string(path);
}

bool RawListener::hasConnection(int milliseconds) const {
  pollfd waiting{socket_.get(), POLLIN, 0};
  return retryOnSignal([&] { return ::poll(&waiting, 1, milliseconds); }) == 1;
}

RawPeer RawListener::accept() {
  waitForDescriptor(socket_.get(), POLLIN);
  const int descriptor = accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC);
  if (descriptor < 0) throwErrno("accept");
  return RawPeer(descriptor);
}

}  // namespace orv::test
