#include "orvnetwork/platform/native/network/NetworkWatcher.h"

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/network/LinkKind.h>

#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>

namespace orv {

namespace {

using DebounceClock = Debounce::Clock;

/// A change of an address always changes a route too; announcements of addresses would only add one each time
/// that a router renews the lifetime of an address.
constexpr std::uint32_t kGroups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;

void tellFailure(const char* what, int error) {
  Console::write(std::string("Reachability: ") + what + ": " + std::generic_category().message(error));
}

using Moment = std::optional<DebounceClock::time_point>;

Moment earlier(const Moment& one, const Moment& other) {
  return one && other ? std::min(*one, *other) : one ? one : other;
}

int millisecondsUntil(const Moment& moment) {
  if (!moment) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*moment - DebounceClock::now());
  return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

}  // namespace

NetworkWatcher::NetworkWatcher(Executor& mainQueue, NativeReachabilityOptions options,
                               std::shared_ptr<ReachabilitySubscription> subscription)
    : mainQueue_(mainQueue),
      options_(std::move(options)),
      subscription_(std::move(subscription)),
      wakeUp_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void NetworkWatcher::run() {
  constexpr int kForEver = -1;
  while (!stopping_) {
    const Period period = subscription_->monitoredPeriod();
    if (period != 0) watch(period);
    // Still the same: nothing is wanted, or it could not be watched.
    if (isWanted(period)) waitUntilWoken(period == 0 ? kForEver : static_cast<int>(options_.again.count()));
  }
}

void NetworkWatcher::stop() {
  stopping_ = true;
  wake();
}

void NetworkWatcher::wake() {
  ::eventfd_write(wakeUp_.get(), 1);
}

void NetworkWatcher::waitUntilWoken(int milliseconds) {
  pollfd wakeUp{wakeUp_.get(), POLLIN, 0};
  retryOnSignal([&] { return ::poll(&wakeUp, 1, milliseconds); });
  forgetWaking();
}

void NetworkWatcher::forgetWaking() {
  eventfd_t count = 0;
  ::eventfd_read(wakeUp_.get(), &count);
}

bool NetworkWatcher::isWanted(Period period) const {
  return !stopping_ && subscription_->monitoredPeriod() == period;
}

/// Returns when the period is over, or there is no news to be had.
void NetworkWatcher::watch(Period period) {
  NetlinkSocket announcements(kGroups);
  if (!announcements) return reportBlindness(period, "cannot watch the network", errno);
  // Announcements wait in the socket from here on, so nothing is lost between the look and the wait.
  Debounce debounce(options_.quiet, options_.longestBurst);
  lookAndReport(period, debounce);
  while (isWanted(period) && waitForNews(announcements, debounce)) {
    const auto now = DebounceClock::now();
    if (debounce.takeIfDue(now) || (lookAgainAt_ && *lookAgainAt_ <= now)) lookAndReport(period, debounce);
  }
}

/// Waits for announcements, until the debounce is due or another look is, or until the thread is woken. False when there
/// is nothing to wait for any more.
bool NetworkWatcher::waitForNews(NetlinkSocket& announcements, Debounce& debounce) {
  std::array<pollfd, 2> sources{{{announcements.descriptor(), POLLIN, 0}, {wakeUp_.get(), POLLIN, 0}}};
  const int limit = millisecondsUntil(earlier(debounce.dueAt(), lookAgainAt_));
  if (::poll(sources.data(), sources.size(), limit) < 0) return errno == EINTR;
  if (sources[1].revents != 0) forgetWaking();
  return sources[0].revents == 0 || takeAnnouncements(announcements, debounce);
}

bool NetworkWatcher::takeAnnouncements(NetlinkSocket& announcements, Debounce& debounce) {
  using Received = NetlinkSocket::Received;
  std::span<const std::byte> datagram;
  const Received received = announcements.receive(datagram, false);
  if (received == Received::Failed) {
    tellFailure("no more news of the network", errno);
    return false;
  }
  const bool isNews =
      received == Received::Lost || (received == Received::Datagram && announcesChange(datagram));
  if (isNews) debounce.eventAt(DebounceClock::now());
  return true;
}

void NetworkWatcher::lookAndReport(Period period, Debounce& debounce) {
  lookAgainAt_.reset();
  RouteTable table;
  const int error = readRouteTable(table);
  if (error == EAGAIN) return debounce.eventAt(DebounceClock::now());  // too much going on: look again soon
  if (error != 0) return reportBlindness(period, "cannot read the state of the network", error);
  const auto isCellular = [this](const std::string& link) {
    return isCellularLink(options_.linkInformation, link);
  };
  const auto loopback = table.isLoopbackUp() ? ReachabilityStatus::WiFi : ReachabilityStatus::NotReachable;
  blindIn_ = 0;
  report(period, {table.status(isCellular), loopback});
}

/// Once: what is tried again in vain is no news.
void NetworkWatcher::reportBlindness(Period period, const char* why, int error) {
  lookAgainAt_ = DebounceClock::now() + options_.again;
  if (std::exchange(blindIn_, period) != period) reportUnknown(period, why, error);
}

void NetworkWatcher::reportUnknown(Period period, const char* why, int error) {
  tellFailure(why, error);
  report(period, {ReachabilityStatus::WiFi, ReachabilityStatus::WiFi});
}

/// Reports are as far apart as the debounce makes them, which bounds how many can wait on the main queue.
void NetworkWatcher::report(Period period, NetworkFacts facts) {
  mainQueue_.post([subscription = subscription_, period, facts] { subscription->deliver(period, facts); });
}

}  // namespace orv
