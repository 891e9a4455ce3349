#include "tests/support/LinkFixture.h"

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/Environment.h>

#include <boost/json/serialize.hpp>

#include <algorithm>
#include <system_error>
#include <utility>

namespace orv {

LinkFixture::LinkFixture()
    : platform(testing::SimulatedPlatform::install(test::numberFromEnvironment("ORV_TEST_SEED", 1))),
      server(platform.server()),
      link(QXWebSocketMgr::standard()),
      firstMoment_(platform.clock().steadyNow()) {
  Console::setSink([this](std::string_view line) { console.emplace_back(line); });
  link.setApiServerUrl("wss://classroom.test/link");
  link.setGlobalUUID("uuid-1");
  link.setAppVersion("2.3.1");
  link.setAppBuildVersion("57");
  observer_ = NotificationCenter::defaultCenter().observe(std::nullopt, [this](const Notification& posted) {
    EXPECT_TRUE(platform.mainQueue().isCurrent()) << posted.name << " was posted off the main thread";
    notifications.push_back({std::string(posted.name), posted.object,
                             posted.userInfo ? std::optional(*posted.userInfo) : std::nullopt, now()});
  });
}

LinkFixture::~LinkFixture() {
  Console::setSink(nullptr);
}

void LinkFixture::connect() {
  link.watchNetworkStatus();
  settle();
  ASSERT_TRUE(link.isOpen());
}

void LinkFixture::bringUp() {
  connect();
  notifications.clear();
  server.clearRecords();
}

bool LinkFixture::isLinkOpen() const {
  return link.isOpen();
}

std::size_t LinkFixture::outstandingRequests() const {
  return link.outstandingRequestCount();
}

std::size_t LinkFixture::parkedRequests() const {
  return link.parkedRequestCount();
}

std::shared_ptr<QXRequestItem> LinkFixture::makeItem(std::string command,
                                                     std::optional<json::object> values) {
  return QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      command, std::move(values),
      [this, command](const auto& item, bool success, const json::object& reply) {
        EXPECT_TRUE(platform.mainQueue().isCurrent());
        EXPECT_TRUE(item);
        outcomes.push_back(command + (success ? " ok" : " refused"));
        lastReply = reply;
      },
      [this, command](const auto& item) {
        EXPECT_TRUE(item);
        outcomes.push_back(command + " timeout");
      });
}

std::shared_ptr<QXRequestItem> LinkFixture::send(const std::string& command,
                                                 std::optional<json::object> values) {
  auto item = makeItem(command, std::move(values));
  link.sendRequestItem(item);
  return item;
}

void LinkFixture::sendItem(std::shared_ptr<QXRequestItem> item) {
  link.sendRequestItem(std::move(item));
}

void LinkFixture::answer(const std::shared_ptr<QXRequestItem>& item, json::object values) {
  server.send(server.latest(),
              json::serialize(json::object{
                  {"C", *item->command}, {"s", std::to_string(item->timestamp)}, {"v", std::move(values)}}));
}

void LinkFixture::answerAll(json::object values) {
  server.onRequest(
      [this, values = std::move(values)](testing::ConnectionId connection, const json::object& frame) {
        server.reply(connection, frame, values);
      });
}

LinkFixture::Strings LinkFixture::names() const {
  Strings all;
  for (const auto& posted : notifications) all.push_back(posted.name);
  return all;
}

std::size_t LinkFixture::count(std::string_view name) const {
  return static_cast<std::size_t>(std::ranges::count(notifications, name, &Posted::name));
}

LinkFixture::Strings LinkFixture::logLines() {
  settle();
  const auto path = QXFileLog::standard().logFilePath();
  std::error_code error;
  const auto text = platform.files().read(path.value(), error).value_or("");
  Strings lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const auto end = text.find('\n', begin);
    auto line = text.substr(begin, end - begin);
    if (line.size() > 26 && line.substr(23, 3) == " - ") line = line.substr(26);
    lines.push_back(line);
    begin = end + 1;
  }
  return lines;
}

std::size_t LinkFixture::countLogged(std::string_view line) {
  const Strings logged = logLines();
  return static_cast<std::size_t>(std::ranges::count(logged, line));
}

std::size_t LinkFixture::countLoggedStart(std::string_view start) {
  const Strings logged = logLines();
  return static_cast<std::size_t>(
      std::ranges::count_if(logged, [&](const std::string& line) { return line.starts_with(start); }));
}

std::vector<double> LinkFixture::attempts() const {
  std::vector<double> times;
  for (const auto& socket : platform.network().sockets()) {
    times.push_back(Seconds(socket.madeAt - firstMoment_).count());
  }
  return times;
}

}  // namespace orv
