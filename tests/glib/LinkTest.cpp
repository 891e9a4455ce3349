#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/testing/ConnectPlan.h>

#include "Owned.h"
#include <tests/support/SchoolClientFixture.h>

#include <orvnetwork_glib/Link.h>

#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <utility>

namespace orv::link_test {
namespace {

class GlibLink : public SchoolClientFixture {
 protected:
  ~GlibLink() override { link.reset(); }

  LinkState state() const { return static_cast<LinkState>(wordOf(link.get(), "state")); }
  /// Whether each property says what the snapshot says.
  void expectShown(const LinkSnapshot& snapshot) const {
    EXPECT_EQ(state(), snapshot.state);
    EXPECT_EQ(flagOf(link.get(), "up"), snapshot.isUp());
    EXPECT_EQ(flagOf(link.get(), "will-retry"), snapshot.willRetry);
    EXPECT_EQ(flagOf(link.get(), "needs-person"), snapshot.needsPerson());
    EXPECT_EQ(textOf(link.get(), "sentence"), snapshot.sentence());
    EXPECT_EQ(textOf(link.get(), "failure-text"), snapshot.failure ? snapshot.failure->text : "(null)");
    EXPECT_EQ(textOf(link.get(), "trouble"),
              snapshot.failure ? std::string(nameOf(snapshot.failure->trouble)) : "(null)");
    guint attempt = 0;
    GDateTime *since = nullptr, *next = nullptr;
    g_object_get(link.get(), "attempt", &attempt, "since", &since, "next-attempt", &next, nullptr);
    EXPECT_EQ(attempt, snapshot.attempt);
    EXPECT_NE(since, nullptr);
    EXPECT_EQ(next != nullptr, snapshot.until.has_value());
    g_clear_pointer(&since, g_date_time_unref);
    g_clear_pointer(&next, g_date_time_unref);
  }

  Owned<OrvLink> link{glib::newLink(*client)};
};

TEST_F(GlibLink, EachPropertyFollowsTheLink) {
  EXPECT_EQ(state(), LinkState::Up);
  expectShown(client->link().snapshot());
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  platform.server().cutAll();
  runFor(1);
  EXPECT_FALSE(flagOf(link.get(), "up"));
  EXPECT_NE(textOf(link.get(), "failure-text"), "(null)");
  expectShown(client->link().snapshot());
}

TEST_F(GlibLink, OnlyWhatChangesIsNotified) {
  std::multiset<std::string> told;
  g_signal_connect(link.get(), "notify", G_CALLBACK(+[](GObject*, GParamSpec* property, gpointer names) {
                     static_cast<std::multiset<std::string>*>(names)->insert(property->name);
                   }),
                   &told);
  runFor(5);
  EXPECT_TRUE(told.empty()) << "told of a change that was none";
  platform.server().cutAll();
  platform.runUntil([&] { return !told.empty(); }, Seconds(30));
  EXPECT_EQ(told.count("up"), 1u);
  EXPECT_EQ(told.count("sentence"), 1u);
  EXPECT_EQ(told.count("needs-person"), 0u);
  g_signal_handlers_disconnect_by_data(link.get(), &told);
}

TEST_F(GlibLink, APersonTriesWithoutWaiting) {
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  platform.server().cutAll();
  ASSERT_TRUE(waitsForLong());
  platform.network().setDefaultPlan(testing::ConnectPlan::accept());
  orv_link_try_now(link.get());
  runFor(3);
  EXPECT_TRUE(flagOf(link.get(), "up"));
}

TEST_F(GlibLink, MomentsAreOfTheWallClock) {
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  platform.server().cutAll();
  runFor(20);
  const LinkSnapshot now = client->link().snapshot();
  ASSERT_TRUE(now.until);
  const auto secondsOf = [&](SteadyTime time) {
    const auto wall = platform.clock().wallNow().time_since_epoch() + (time - platform.clock().steadyNow());
    return std::chrono::duration_cast<std::chrono::seconds>(wall).count();
  };
  GDateTime *since = nullptr, *next = nullptr;
  g_object_get(link.get(), "since", &since, "next-attempt", &next, nullptr);
  EXPECT_EQ(g_date_time_to_unix(since), secondsOf(now.since));
  EXPECT_EQ(g_date_time_to_unix(next), secondsOf(*now.until));
  g_date_time_unref(since);
  g_date_time_unref(next);
}

TEST_F(GlibLink, LetGoItHearsNothing) {
  ASSERT_EQ(state(), LinkState::Up);
  // As when the last reference goes, but that somebody looks at it still.
  g_object_run_dispose(G_OBJECT(link.get()));
  EXPECT_EQ(state(), LinkState::Stopped);
  platform.server().cutAll();
  runFor(10);
  EXPECT_EQ(state(), LinkState::Stopped);
}

TEST_F(GlibLink, ADialogueOpenedByALossSeesTheLinkComeBack) {
  bool entered = false, upInTheDialogue = false;
  std::function<void()> dialogue = [&] {
    if (flagOf(link.get(), "up") || std::exchange(entered, true)) return;
    runFor(30);
    upInTheDialogue = flagOf(link.get(), "up");
  };
  const auto opened =
      +[](GObject*, GParamSpec*, gpointer open) { (*static_cast<std::function<void()>*>(open))(); };
  g_signal_connect(link.get(), "notify::up", G_CALLBACK(opened), &dialogue);
  platform.server().cutAll();
  runFor(1);
  EXPECT_TRUE(entered);
  EXPECT_TRUE(upInTheDialogue);
  g_signal_handlers_disconnect_by_data(link.get(), &dialogue);
}

TEST_F(GlibLink, MayBeLetGoInsideItsSignals) {
  g_signal_connect(link.get(), "notify::up", G_CALLBACK(+[](GObject*, GParamSpec*, gpointer owner) {
                     static_cast<Owned<OrvLink>*>(owner)->reset();
                   }),
                   &link);
  platform.server().cutAll();
  runFor(60);
  EXPECT_EQ(link, nullptr);
  EXPECT_TRUE(client->link().isUp());
}

}  // namespace
}  // namespace orv::link_test
