#include "HostValues.h"

#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <boost/json/serialize.hpp>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace orv {

HostValues::HostValues() {
  answerAll(largeValue());
}

json::object HostValues::largeValue() {
  json::array items;
  for (int i = 0; i < 60; ++i) {
    items.push_back({{"roomID", 5'000'000'000 + i},
                     {"title", "a title that does not fit into the value itself " + std::to_string(i)},
                     {"short", "x"},
                     {"price", 9.9},
                     {"tags", {"one", "two", nullptr, true}}});
  }
  return {{"ret", 0}, {"data", std::move(items)}};
}

void HostValues::useKept(const std::optional<json::value>& kept, Use use) {
  settle();
  ASSERT_TRUE(kept.has_value());
  ASSERT_EQ(json::serialize(*kept), json::serialize(largeValue()));
  use(*kept);
}

void HostValues::useOfAReply(Use use) {
  bringUp();
  std::optional<json::value> kept;
  std::function<void()> later;
  link.sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "Course.Get.Items", json::object(),
      [&](const auto&, bool, const json::object& reply) {
        use(reply.at("v"));
        kept.emplace(reply.at("v"));
        later = [use, v = reply.at("v")] { use(v); };
      },
      [](const auto&) {}));
  settle();
  ASSERT_TRUE(later);
  later();
  useKept(kept, use);
}

void HostValues::useOfANotification(Use use) {
  bringUp();
  std::optional<json::value> kept;
  std::map<std::string, json::value> byName;
  const auto observer = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationPushOrvMessage), [&](const Notification& posted) {
        use(posted.userInfo->at("v"));
        byName.emplace("first", posted.userInfo->at("v"));
        kept.emplace(posted.userInfo->at("v"));
      });
  server.push(server.latest(), "Rooms.Push.Message", largeValue());
  settle();
  ASSERT_TRUE(byName.contains("first"));
  use(byName.at("first"));
  useKept(kept, use);
}

void HostValues::useOfACallThroughTheRegistry(Use use) {
  bringUp();
  std::optional<json::value> kept;
  const Operation* const operation =
      OperationRegistry::standard().find("getCourseInfo:completeBlock:timeoutBlock:");
  ASSERT_NE(operation, nullptr);
  EXPECT_EQ(operation->invoke(
                {"7"},
                [&](const auto&, bool, const json::object& reply) {
                  use(reply.at("v"));
                  kept.emplace(reply.at("v"));
                },
                [](const auto&) {}),
            "");
  settle();
  useKept(kept, use);
}

void HostValues::useOfARecord(Use use) {
  answerAll({{"ret", 0}, {"data", {{"roomID", 7}, {"orv_createInfo", largeValue()}}}});
  bringUp();
  std::shared_ptr<OrvCourseModel> course;
  link.sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "Course.Get.Info", json::object(),
      [&](const auto&, bool, const json::object& reply) {
        course = makeRecord<OrvCourseModel>(reply.at("v").at("data").as_object());
      },
      [](const auto&) {}));
  settle();
  ASSERT_NE(course, nullptr);
  use(*course->orv_createInfo.get());
  use(course->jsonObject());
  const std::optional<json::value> kept = *course->orv_createInfo.get();
  course = nullptr;
  useKept(kept, use);
}

void HostValues::useOfAParsedText(Use use) {
  const auto parsed = parseJson(json::serialize(largeValue()));
  ASSERT_TRUE(parsed);
  use(*parsed);
}

}  // namespace orv
