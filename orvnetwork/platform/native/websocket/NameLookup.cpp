#include "orvnetwork/platform/native/websocket/NameLookup.h"

#include <orvnetwork/platform/native/threads/ServiceThread.h>
#include <orvnetwork/platform/native/websocket/NativeWebSocket.h>

#include <netdb.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace orv {

namespace {

constexpr int kMostLookupsAtOnce = 64;

/// One of the look-ups that may be under way.
class Place {
 public:
  Place() : isFree_(taken.fetch_add(1) < kMostLookupsAtOnce) {}
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;
  ~Place() { taken.fetch_sub(1); }
  bool isFree() const { return isFree_; }

 private:
  static inline std::atomic<int> taken{0};
  const bool isFree_;
};

Error lookupError(int code) {
  if (code != EAI_SYSTEM) return {websocket_error::kNameLookupDomain, code, gai_strerror(code)};
  // The resolver may say that the system is to blame and keep to itself for what.
  const int number = errno;
  return {websocket_error::kSystemDomain, number,
          number == 0 ? gai_strerror(code) : std::system_category().message(number)};
}

HostAddresses resolve(const std::string& host, std::uint16_t port, int family, int flags) {
  addrinfo hints{};
  hints.ai_flags = flags;
  hints.ai_family = family;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  HostAddresses result;
  errno = 0;
  if (const int code = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list); code != 0) {
    result.error = lookupError(code);
    return result;
  }
  for (const addrinfo* at = list; at != nullptr; at = at->ai_next) {
    SocketAddress& address = result.addresses.emplace_back();
    std::memcpy(&address.storage, at->ai_addr, at->ai_addrlen);
    address.size = at->ai_addrlen;
  }
  freeaddrinfo(list);
  return result;
}

int familyNumber(std::optional<IpFamily> family) {
  if (!family) return AF_UNSPEC;
  return *family == IpFamily::Sixth ? AF_INET6 : AF_INET;
}

}  // namespace

HostAddresses numericHostAddress(const std::string& host, std::uint16_t port) {
  return resolve(host, port, AF_UNSPEC, AI_NUMERICHOST);
}

void lookUpHost(const std::string& host, std::uint16_t port, std::optional<IpFamily> family,
                std::function<void(HostAddresses)> done) {
  auto place = std::make_shared<const Place>();
  if (!place->isFree()) return done({{}, lookupError(EAI_AGAIN)});
  try {
    startServiceThread("orv-lookup", [host, port, family, done, place = std::move(place)] {
      done(resolve(host, port, familyNumber(family), 0));
    }).detach();
  } catch (const std::system_error& error) {
    done({{}, {websocket_error::kSystemDomain, error.code().value(), error.what()}});
  }
}

}  // namespace orv
