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

namespace orv {

namespace {

using DebounceClock = Debounce::Clock;

/// A change of an address always changes a route too; announcements of addresses would only add one each time
/// that a router renews the lifetime of an address.
constexpr std::uint32_t kGroups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;

void tellFailure(const char* what, int error) {
  Console::write(std::string("Reachability: ") + what + ": " + std::generic_category().message(error));
}

int millisecondsUntil(const std::optional<DebounceClock::time_point>& moment) {
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
  Period watched = 0;
  while (!stopping_) {
    const Period period = subscription_->monitoredPeriod();
    if (period == watched) {
      waitUntilWoken();
    } else {
      watched = period;
      if (period != 0) watch(period);
    }
  }
}

void NetworkWatcher::stop() {
  stopping_ = true;
  wake();
}

void NetworkWatcher::wake() {
  ::eventfd_write(wakeUp_.get(), 1);
}

void NetworkWatcher::waitUntilWoken() {
  pollfd wakeUp{wakeUp_.get(), POLLIN, 0};
  retryOnSignal([&] { return ::poll(&wakeUp, 1, -1); });
  forgetWaking();
}

void NetworkWatcher::forgetWaking() {
  eventfd_t count = 0;
  ::eventfd_read(wakeUp_.get(), &count);
}

bool NetworkWatcher::isWanted(Period period) const {
  return !stopping_ && subscription_->monitoredPeriod() == period;
}

void NetworkWatcher::watch(Period period) {
  NetlinkSocket announcements(kGroups);
  if (!announcements) return reportUnknown(period, "cannot watch the network", errno);
  // Announcements wait in the socket from here on, so nothing is lost between the look and the wait.
  Debounce debounce(options_.quiet, options_.longestBurst);
  lookAndReport(period, debounce);
  while (isWanted(period) && waitForNews(announcements, debounce)) {
    if (debounce.takeIfDue(DebounceClock::now())) lookAndReport(period, debounce);
  }
}

/// Waits for announcements, until the debounce is due, or until the thread is woken. False when there is
/// nothing to wait for any more.
bool NetworkWatcher::waitForNews(NetlinkSocket& announcements, Debounce& debounce) {
  std::array<pollfd, 2> sources{{{announcements.descriptor(), POLLIN, 0}, {wakeUp_.get(), POLLIN, 0}}};
  if (::poll(sources.data(), sources.size(), millisecondsUntil(debounce.dueAt())) < 0) return errno == EINTR;
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
  RouteTable table;
  const int error = readRouteTable(table);
  if (error == EAGAIN) return debounce.eventAt(DebounceClock::now());  // too much going on: look again soon
  if (error != 0) return reportUnknown(period, "cannot read the state of the network", error);
  const auto isCellular = [this](const std::string& link) {
    return isCellularLink(options_.linkInformation, link);
  };
  const auto loopback = table.isLoopbackUp() ? ReachabilityStatus::WiFi : ReachabilityStatus::NotReachable;
  report(period, {table.status(isCellular), loopback});
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
