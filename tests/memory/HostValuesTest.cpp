// What a host does with the values that it is handed: it keeps a part, and copies that again and again, changes it and
// drops it, on any thread.

#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/memory/HeldMemory.h>
#include <tests/support/LinkFixture.h>

#include <boost/json/serialize.hpp>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orv::host_values_test {
namespace {

constexpr int kCopies = 3000;

/// A dictionary of some 12 KB with values of every kind.
json::object largeValue() {
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

/// Copies a value, changes the copies and drops them, on two threads at once; those that one thread makes are dropped
/// by the other.
void useOnTwoThreads(const json::value& kept) {
  const std::string text = json::serialize(kept);
  std::vector<json::value> made[2];
  const auto work = [&](std::size_t thread) {
    for (int i = 0; i < kCopies / 20; ++i) {
      made[thread].push_back(kept);
      made[thread].back().as_object().insert_or_assign("changed", "a text that has to lie somewhere else");
      made[thread].back().as_object()["data"] = json::array{1, 2, 3};
      const std::function<std::string()> copied = [v = kept] { return json::serialize(v); };
      EXPECT_EQ(copied(), text);
    }
  };
  std::thread other(work, 1);
  work(0);
  other.join();
  std::thread dropping([&] { made[0].clear(); });
  made[1].clear();
  dropping.join();
  EXPECT_EQ(json::serialize(kept), text);
}

/// The value is one like any other: copying it, by whatever road, leaves nothing behind.
void expectOrdinary(const json::value& kept) {
  EXPECT_TRUE(kept.storage() == json::storage_ptr());
  useOnTwoThreads(kept);
  const std::size_t before = test::heldBytes();
  for (int i = 0; i < kCopies; ++i) {
    auto copied = kept;
    const auto captured = [v = copied] { return v.as_object().size(); };
    EXPECT_GT(captured(), 0u);
    copied.as_object().insert_or_assign("added", std::string(100, 'a'));
  }
  const std::size_t after = test::heldBytes();
  EXPECT_LT(after, before + 100'000) << "copies that are gone hold memory";
}

class HostValues : public LinkFixture {
 protected:
  HostValues() { answerAll(largeValue()); }

  /// Works on what was kept when the library has let go of the reply.
  void useKept() {
    settle();
    ASSERT_TRUE(kept.has_value());
    EXPECT_EQ(json::serialize(*kept), json::serialize(largeValue()));
    expectOrdinary(*kept);
  }

  std::optional<json::value> kept;
};

TEST_F(HostValues, APartOfAReplyIsKeptAndCopiedLikeAnyOtherValue) {
  bringUp();
  std::function<void()> later;
  link.sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "Course.Get.Items", json::object(),
      [&](const auto&, bool, const json::object& reply) {
        useOnTwoThreads(reply.at("v"));
        kept.emplace(reply.at("v"));
        later = [v = reply.at("v")] { expectOrdinary(v); };
      },
      [](const auto&) {}));
  settle();
  ASSERT_TRUE(later);
  later();
  useKept();
}

TEST_F(HostValues, APartOfANotificationIsKeptAndCopiedLikeAnyOtherValue) {
  bringUp();
  std::map<std::string, json::value> byName;
  const auto observer = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationPushOrvMessage), [&](const Notification& posted) {
        useOnTwoThreads(posted.userInfo->at("v"));
        byName.emplace("first", posted.userInfo->at("v"));
        kept = posted.userInfo->at("v");
      });
  server.push(server.latest(), "Rooms.Push.Message", largeValue());
  settle();
  ASSERT_TRUE(byName.contains("first"));
  expectOrdinary(byName.at("first"));
  useKept();
}

TEST_F(HostValues, TheReplyOfACallThroughTheRegistryIsKeptAndCopiedLikeAnyOtherValue) {
  bringUp();
  const Operation* const operation =
      OperationRegistry::standard().find("getCourseInfo:completeBlock:timeoutBlock:");
  ASSERT_NE(operation, nullptr);
  EXPECT_EQ(operation->invoke(
                {"7"}, [&](const auto&, bool, const json::object& reply) { kept = reply.at("v"); },
                [](const auto&) {}),
            "");
  settle();
  useKept();
}

TEST_F(HostValues, ADictionaryOfARecordIsKeptAndCopiedLikeAnyOtherValue) {
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
  expectOrdinary(*course->orv_createInfo.get());
  expectOrdinary(course->jsonObject());
  kept = *course->orv_createInfo.get();
  course = nullptr;
  useKept();
}

TEST_F(HostValues, AParsedTextIsCopiedLikeAnyOtherValue) {
  const auto parsed = parseJson(json::serialize(largeValue()));
  ASSERT_TRUE(parsed);
  expectOrdinary(*parsed);
}

}  // namespace
}  // namespace orv::host_values_test
