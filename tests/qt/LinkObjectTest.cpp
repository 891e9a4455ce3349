#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/testing/ConnectPlan.h>

#include "Printing.h"
#include "SchoolFixture.h"

#include <orvnetwork_qt/Convert.h>
#include <orvnetwork_qt/LinkObject.h>

#include <QMetaProperty>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::link_object_test {
namespace {

using qt::LinkObject;

class QtLinkObject : public SchoolFixture {
 protected:
  /// A property by its name, as QML reads it.
  QVariant read(const char* name) const {
    EXPECT_GE(link->metaObject()->indexOfProperty(name), 0) << name;
    return link->property(name);
  }
  /// Whether each property says what the snapshot says.
  void expectShown(const LinkSnapshot& snapshot) const {
    EXPECT_EQ(read("state").toInt(), static_cast<int>(snapshot.state));
    EXPECT_EQ(read("up").toBool(), snapshot.isUp());
    EXPECT_EQ(read("since").toDateTime(), qt::moment(snapshot.since));
    EXPECT_EQ(read("nextAttempt").toDateTime().isValid(), snapshot.until.has_value());
    EXPECT_EQ(read("nextAttempt").toDateTime(), snapshot.until ? qt::moment(*snapshot.until) : QDateTime());
    EXPECT_EQ(read("attempt").toULongLong(), snapshot.attempt);
    EXPECT_EQ(read("failureText").toString(),
              snapshot.failure ? qt::text(std::string_view(snapshot.failure->text)) : "");
    EXPECT_EQ(read("trouble").toString(),
              snapshot.failure ? qt::text(nameOf(snapshot.failure->trouble)) : "");
    EXPECT_EQ(read("willRetry").toBool(), snapshot.willRetry);
    EXPECT_EQ(read("needsPerson").toBool(), snapshot.needsPerson());
    EXPECT_EQ(read("sentence").toString(), qt::text(std::string_view(snapshot.sentence())));
  }

  std::unique_ptr<LinkObject> link = std::make_unique<LinkObject>(*client);
};

TEST_F(QtLinkObject, EachPropertyFollowsTheLinkAndEachChangeIsToldOnce) {
  expectShown(client->link().snapshot());
  EXPECT_EQ(link->state(), LinkObject::Up);
  std::vector<LinkSnapshot> told;
  std::vector<bool> ups;
  QObject::connect(link.get(), &LinkObject::changed, [&] {
    told.push_back(link->snapshot());
    expectShown(link->snapshot());
  });
  QObject::connect(link.get(), &LinkObject::upChanged, [&](bool up) { ups.push_back(up); });
  runFor(1);
  EXPECT_TRUE(told.empty()) << "told of a change that was none";

  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  platform.server().cutAll();
  runFor(10);
  EXPECT_EQ(link->state(), LinkObject::Waiting);
  EXPECT_TRUE(link->nextAttempt().isValid());
  EXPECT_EQ(link->trouble(), "refused");
  EXPECT_GE(link->attempt(), 1);
  expectShown(client->link().snapshot());
  EXPECT_EQ(ups, (std::vector<bool>{false}));

  platform.reachability().report(ReachabilityStatus::NotReachable);
  runFor(1);
  EXPECT_EQ(link->state(), LinkObject::Offline);
  platform.network().setDefaultPlan(testing::ConnectPlan::accept());
  platform.reachability().report(ReachabilityStatus::WiFi);
  runFor(1);
  EXPECT_TRUE(link->isUp());
  EXPECT_EQ(link->trouble(), "");
  EXPECT_EQ(ups, (std::vector<bool>{false, true}));
  for (std::size_t i = 1; i < told.size(); ++i) EXPECT_FALSE(told[i] == told[i - 1]) << "told twice";
}

TEST_F(QtLinkObject, APersonTriesWithoutWaiting) {
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  platform.server().cutAll();
  ASSERT_TRUE(waitsForLong());
  platform.network().setDefaultPlan(testing::ConnectPlan::accept());
  ASSERT_TRUE(QMetaObject::invokeMethod(link.get(), "tryNow"));
  runFor(3);
  EXPECT_TRUE(link->isUp());
}

TEST_F(QtLinkObject, ASlotMayDestroyIt) {
  QObject::connect(link.get(), &LinkObject::changed, [&] { link.reset(); });
  platform.server().cutAll();
  runFor(1);
  EXPECT_EQ(link, nullptr);
}

TEST_F(QtLinkObject, ADialogueOpenedByALossSeesTheLinkComeBack) {
  std::vector<bool> ups;
  bool entered = false, upInTheDialogue = false;
  QObject::connect(link.get(), &LinkObject::upChanged, [&](bool up) { ups.push_back(up); });
  QObject::connect(link.get(), &LinkObject::changed, [&] {
    if (link->isUp() || std::exchange(entered, true)) return;
    runFor(30);
    upInTheDialogue = link->isUp();
  });
  platform.server().cutAll();
  runFor(1);
  EXPECT_TRUE(entered);
  EXPECT_TRUE(upInTheDialogue);
  EXPECT_TRUE(link->isUp());
  EXPECT_TRUE(ups.empty() || ups == (std::vector<bool>{false, true})) << "told of a change that was none";
}

TEST_F(QtLinkObject, MomentsAreOfTheWallClock) {
  platform.server().cutAll();
  runFor(20);
  ASSERT_TRUE(link->isUp());
  const auto since = client->link().snapshot().since;
  const auto wall =
      std::chrono::duration_cast<std::chrono::milliseconds>(platform.clock().wallNow().time_since_epoch());
  const auto ago =
      std::chrono::duration_cast<std::chrono::milliseconds>(platform.clock().steadyNow() - since);
  EXPECT_EQ(link->since().toMSecsSinceEpoch(), (wall - ago).count());
  EXPECT_FALSE(qt::moment(std::int64_t{0}).isValid());
  EXPECT_FALSE(qt::moment(std::int64_t{-5}).isValid());
  EXPECT_EQ(qt::moment(std::int64_t{1700000000}).toSecsSinceEpoch(), 1700000000);
}

}  // namespace
}  // namespace orv::link_object_test
