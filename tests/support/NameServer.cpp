#include <tests/support/NameServer.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>

#include <cerrno>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace orv::test {

namespace {

[[noreturn]] void failWith(const std::string& what) {
  throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

// Of a message of DNS: the header's size, the types that are asked for, and the answers' codes.
constexpr std::size_t kHeaderSize = 12;
constexpr int kAddressOfFourth = 1;
constexpr int kAddressOfSixth = 28;
constexpr int kFailure = 2;
constexpr int kNoSuchName = 3;

void put16(std::string& bytes, int number) {
  bytes += static_cast<char>(number >> 8);
  bytes += static_cast<char>(number & 0xff);
}

/// Where the question's name ends, behind the empty label.
std::size_t endOfName(const std::string& message) {
  std::size_t at = kHeaderSize;
  while (at < message.size() && message[at] != 0) {
    at += static_cast<unsigned char>(message[at]) + std::size_t{1};
  }
  return at + 1;
}

int codeOf(NameServer::Says says) {
  if (says == NameServer::Says::Failure) return kFailure;
  return says == NameServer::Says::NoSuchName ? kNoSuchName : 0;
}

std::string bytesOf(const std::string& address, int family) {
  std::string bytes(family == AF_INET6 ? sizeof(in6_addr) : sizeof(in_addr), '\0');
  if (::inet_pton(family, address.c_str(), bytes.data()) != 1) {
    throw std::runtime_error("no address: " + address);
  }
  return bytes;
}

}  // namespace

void useOwnNames(const std::string& hosts, const std::string& options) {
  if (::unshare(CLONE_NEWNS) != 0) failWith("cannot have files of its own");
  if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) failWith("cannot keep them");
  if (::mount("none", "/etc", "tmpfs", 0, nullptr) != 0) failWith("cannot hide /etc");
  std::ofstream("/etc/nsswitch.conf") << "hosts: files dns\n";
  std::ofstream("/etc/resolv.conf") << "nameserver " << NameServer::kAddress << "\n" << options << "\n";
  std::ofstream("/etc/host.conf") << "multi on\n";  // all lines of a name count
  std::ofstream("/etc/hosts") << hosts;
}

NameServer::NameServer(Answer sixth, Answer fourth)
    : sixth_(std::move(sixth)),
      fourth_(std::move(fourth)),
      socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  constexpr int kPort = 53;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(kPort);
  address.sin_addr.s_addr = inet_addr(kAddress);
  if (::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) failWith("bind");
  thread_ = std::thread([this] { serve(); });
}

NameServer::~NameServer() {
  ::shutdown(socket_.get(), SHUT_RDWR);  // ends the wait, though it says that there is no connection
  thread_.join();
}

void NameServer::serve() const {
  for (;;) {
    std::string question(512, '\0');
    sockaddr_in from{};
    socklen_t size = sizeof from;
    auto* const sender = reinterpret_cast<sockaddr*>(&from);
    const ssize_t length = ::recvfrom(socket_.get(), question.data(), question.size(), 0, sender, &size);
    if (length <= static_cast<ssize_t>(kHeaderSize)) return;
    ++asked_;
    question.resize(static_cast<std::size_t>(length));
    if (const auto answer = answerTo(question)) {
      ::sendto(socket_.get(), answer->data(), answer->size(), 0, sender, size);
    }
  }
}

std::optional<std::string> NameServer::answerTo(const std::string& question) const {
  const std::size_t end = endOfName(question);
  if (end + 4 > question.size()) return std::nullopt;
  const int type = static_cast<unsigned char>(question[end + 1]);
  if (type != kAddressOfSixth && type != kAddressOfFourth) return std::nullopt;
  const Answer& answer = type == kAddressOfSixth ? sixth_ : fourth_;
  if (answer.says == Says::Nothing) return std::nullopt;

  std::string bytes = question.substr(0, 2);
  put16(bytes, 0x8180 | codeOf(answer.says));
  put16(bytes, 1);
  put16(bytes, static_cast<int>(answer.addresses.size()));
  put16(bytes, 0);
  put16(bytes, 0);
  bytes += question.substr(kHeaderSize, end + 4 - kHeaderSize);
  for (const std::string& address : answer.addresses) {
    const std::string number = bytesOf(address, type == kAddressOfSixth ? AF_INET6 : AF_INET);
    put16(bytes, 0xc000 | static_cast<int>(kHeaderSize));  // the question's name
    put16(bytes, type);
    put16(bytes, 1);
    put16(bytes, 0);
    put16(bytes, 60);
    put16(bytes, static_cast<int>(number.size()));
    bytes += number;
  }
  return bytes;
}

}  // namespace orv::test
