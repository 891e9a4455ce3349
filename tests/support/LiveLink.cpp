#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/DistinctIdentifiers.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <tests/support/LiveLink.h>

#include <boost/json/serialize.hpp>
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <system_error>
#include <utility>

namespace orv::test {

namespace {

using Clock = std::chrono::steady_clock;

/// A little over the 1.5 s within which a second `reconnect` is ignored.
constexpr Seconds kReconnectPause{1.55};
/// Conditions may also depend on what other threads do without posting to the main queue.
constexpr int kLookAgainMilliseconds = 2;
constexpr std::size_t kStampSize = 23;

std::string_view withoutStamp(std::string_view line) {
  constexpr std::string_view separator = " - ";
  if (line.size() < kStampSize + separator.size() || line.substr(kStampSize, separator.size()) != separator) {
    return line;
  }
  return line.substr(kStampSize + separator.size());
}

}  // namespace

LiveLinkTest::LiveLinkTest() {
  Console::setSink([](std::string_view) {});
  observer_ = NotificationCenter::defaultCenter().observe(std::nullopt, [this](const Notification& posted) {
    EXPECT_TRUE(MainQueue::instance().isCurrent()) << posted.name << " was posted off the main thread";
    notifications.push_back({std::string(posted.name), posted.object,
                             posted.userInfo != nullptr ? json::serialize(*posted.userInfo) : std::string()});
  });
}

LiveLinkTest::~LiveLinkTest() {
  observer_.reset();
  Console::setSink(nullptr);
}

void LiveLinkTest::configure(const std::string& url) {
  MainQueue::instance().claim();
  link.setApiServerUrl(url);
  link.setGlobalUUID("live-uuid");
  link.setAppVersion("2.3.1");
  link.setAppBuildVersion("57");
}

void LiveLinkTest::start(const std::string& url) {
  configure(url);
  link.watchNetworkStatus();
}

void LiveLinkTest::bringUp(const std::string& url) {
  start(url);
  ASSERT_TRUE(waitUntilOpen());
  notifications.clear();
}

bool LiveLinkTest::pumpUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
  auto& main = MainQueue::instance();
  const auto deadline = Clock::now() + patience;
  main.drain();
  while (!condition()) {
    if (Clock::now() > deadline) return false;
    pollfd watched{main.wakeUpDescriptor(), POLLIN, 0};
    ::poll(&watched, 1, kLookAgainMilliseconds);
    main.drain();
  }
  return true;
}

bool LiveLinkTest::waitForReconnectPause() {
  return pumpUntil([this] {
    const auto last = link.reconnectDate();
    return !last || Platform::current().clock().wallNow() - *last > kReconnectPause;
  });
}

bool LiveLinkTest::waitUntilOpen() {
  return pumpUntil([this] { return link.isOpen(); });
}

bool LiveLinkTest::waitForPosted(std::string_view name, std::size_t times) {
  return pumpUntil([&] { return count(name) >= times; });
}

CompleteBlock LiveLinkTest::completion(const std::string& command) {
  return [this, command](const auto& item, bool success, const json::object& reply) {
    EXPECT_TRUE(MainQueue::instance().isCurrent());
    EXPECT_TRUE(item);
    outcomes.push_back(command + (success ? " ok" : " refused"));
    lastReply = reply;
  };
}

TimeoutBlock LiveLinkTest::timeout(const std::string& command) {
  return [this, command](const auto& item) {
    EXPECT_TRUE(item);
    outcomes.push_back(command + " timeout");
  };
}

std::shared_ptr<QXRequestItem> LiveLinkTest::makeRequest(const std::string& command,
                                                         const std::optional<json::object>& values,
                                                         const CompleteBlock& completed,
                                                         const TimeoutBlock& timedOut) {
  const DistinctIdentifiers distinct;
  return QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(command, values, completed,
                                                                              timedOut);
}

std::shared_ptr<QXRequestItem> LiveLinkTest::send(const std::string& command,
                                                  const std::optional<json::object>& values) {
  auto item = makeRequest(command, values, completion(command), timeout(command));
  link.sendRequestItem(item);
  return item;
}

bool LiveLinkTest::waitForOutcomes(std::size_t count) {
  return pumpUntil([&] { return outcomes.size() >= count; });
}

json::object LiveLinkTest::ask(const std::string& command, json::object values) {
  const std::size_t before = outcomes.size();
  lastReply.clear();
  send(command, std::move(values));
  EXPECT_TRUE(waitForOutcomes(before + 1)) << command;
  EXPECT_EQ(outcomes.size(), before + 1);
  return lastReply;
}

bool LiveLinkTest::echoes() {
  const json::object reply = ask("Dev.Echo", {{"text", "课堂 👋"}});
  const auto* values = reply.if_contains("v");
  if (values == nullptr) return false;
  const json::object expected{{"command", "Dev.Echo"}, {"values", {{"text", "课堂 👋"}}}};
  return values->as_object().at("data") == expected;
}

LiveLinkTest::Strings LiveLinkTest::names() const {
  Strings all;
  for (const auto& posted : notifications) all.push_back(posted.name);
  return all;
}

std::size_t LiveLinkTest::count(std::string_view name) const {
  return static_cast<std::size_t>(std::ranges::count(notifications, name, &Posted::name));
}

std::string LiveLinkTest::lastUserInfo(std::string_view name) const {
  for (auto posted = notifications.rbegin(); posted != notifications.rend(); ++posted) {
    if (posted->name == name) return posted->userInfo;
  }
  return "(not posted)";
}

LiveLinkTest::Strings LiveLinkTest::logLines() {
  auto& log = QXFileLog::standard();
  auto written = std::make_shared<std::atomic<bool>>(false);
  log.opQueue().post([written] { *written = true; });
  EXPECT_TRUE(pumpUntil([&] { return written->load(); }));
  std::error_code error;
  const std::string text =
      Platform::current().files().read(log.logFilePath().value_or(""), error).value_or("");
  Strings lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    lines.emplace_back(withoutStamp(std::string_view(text).substr(begin, end - begin)));
    begin = end + 1;
  }
  return lines;
}

std::size_t LiveLinkTest::countLogged(std::string_view start) {
  const Strings lines = logLines();
  return static_cast<std::size_t>(
      std::ranges::count_if(lines, [&](const std::string& line) { return line.starts_with(start); }));
}

}  // namespace orv::test
