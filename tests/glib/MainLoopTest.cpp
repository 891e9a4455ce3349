#include <orvnetwork/platform/MainQueue.h>

#include <tests/support/MainQueuePosts.h>

#include <glib.h>
#include <gtest/gtest.h>
#include <orvnetwork_glib/MainLoop.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace orv::main_loop_test {
namespace {

using test::post;
using test::postFromElsewhere;

struct LoopEnd {
  void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
};
using Loop = std::unique_ptr<GMainLoop, LoopEnd>;

Loop newLoop() {
  return Loop(g_main_loop_new(nullptr, FALSE));
}

/// The real main queue, in a real loop. What must not happen is looked for until the loop has nothing to do any more.
class GlibMainLoop : public ::testing::Test {
 protected:
  ~GlibMainLoop() override { glib::detachMainQueue(); }

  /// Handles what is ready until nothing is; false when that has no end.
  static bool comesToRest() {
    for (int round = 0; round < 1000; ++round) {
      if (g_main_context_iteration(nullptr, FALSE) == FALSE) return true;
    }
    return false;
  }
};

TEST_F(GlibMainLoop, TasksOfAllThreadsRunInTheLoopInTheOrderPosted) {
  ASSERT_TRUE(glib::attachMainQueue());
  const Loop loop = newLoop();
  std::string order;
  post([&] { order += 'a'; });
  postFromElsewhere([&] { order += 'b'; });
  post([&] {
    order += 'c';
    post([&] {
      order += 'd';
      g_main_loop_quit(loop.get());
    });
  });
  EXPECT_EQ(order, "") << "a task ran outside the loop";
  g_main_loop_run(loop.get());
  EXPECT_EQ(order, "abcd");
}

TEST_F(GlibMainLoop, WhatWaitsBeforeItIsAttachedRunsToo) {
  const Loop loop = newLoop();
  post([&] { g_main_loop_quit(loop.get()); });
  ASSERT_TRUE(glib::attachMainQueue());
  g_main_loop_run(loop.get());
}

TEST_F(GlibMainLoop, ALoopInsideATaskRunsWhatWaitsBehindThatTaskAndWhatComesLater) {
  ASSERT_TRUE(glib::attachMainQueue());
  const Loop loop = newLoop();
  std::string order;
  post([&] {
    order += 'a';
    const Loop dialogue = newLoop();
    post([&] {
      order += 'c';
      // Two steps, each in a turn of its own: the queue has to wake this loop anew.
      postFromElsewhere([&] {
        order += 'd';
        postFromElsewhere([&] {
          order += 'e';
          g_main_loop_quit(dialogue.get());
        });
      });
    });
    g_main_loop_run(dialogue.get());
    order += 'f';
    g_main_loop_quit(loop.get());
  });
  post([&] { order += 'b'; });
  g_main_loop_run(loop.get());
  EXPECT_EQ(order, "abcdef");
}

TEST_F(GlibMainLoop, LoopsStandInsideEachOtherAndEndInAnyOrder) {
  ASSERT_TRUE(glib::attachMainQueue());
  const Loop loop = newLoop();
  std::string order;
  std::function<void(int)> open = [&](int depth) {
    if (depth == 0) return;
    const Loop inner = newLoop();
    order += '(';
    post([&, depth] {
      open(depth - 1);
      postFromElsewhere([&] { g_main_loop_quit(inner.get()); });
    });
    g_main_loop_run(inner.get());
    order += ')';
  };
  post([&] {
    open(4);
    g_main_loop_quit(loop.get());
  });
  g_main_loop_run(loop.get());
  EXPECT_EQ(order, "(((())))");
}

TEST_F(GlibMainLoop, ATaskThatPostsItselfAgainLeavesRedrawingItsTurn) {
  ASSERT_TRUE(glib::attachMainQueue());
  const Loop loop = newLoop();
  bool stop = false;
  int rounds = 0;
  std::function<void()> again = [&] {
    ++rounds;
    if (!stop) post(again);
  };
  post(again);
  struct Redrawing {
    GMainLoop* loop;
    int rounds = 0;
    bool& stop;
  } redrawing{loop.get(), 0, stop};
  // Where GTK redraws.
  g_idle_add_full(
      G_PRIORITY_HIGH_IDLE + 20,
      [](gpointer data) -> gboolean {
        auto& redrawn = *static_cast<Redrawing*>(data);
        if (++redrawn.rounds < 3) return G_SOURCE_CONTINUE;
        redrawn.stop = true;
        g_main_loop_quit(redrawn.loop);
        return G_SOURCE_REMOVE;
      },
      &redrawing, nullptr);
  g_main_loop_run(loop.get());
  EXPECT_EQ(redrawing.rounds, 3);
  EXPECT_GE(rounds, 1);
  EXPECT_TRUE(comesToRest());
}

TEST_F(GlibMainLoop, AfterAFloodTasksAreInFrontOfRedrawingAgain) {
  ASSERT_TRUE(glib::attachMainQueue());
  int left = 5;
  std::function<void()> again = [&] {
    if (--left > 0) post(again);
  };
  post(again);
  ASSERT_TRUE(comesToRest());
  std::string order;
  g_idle_add_full(
      G_PRIORITY_HIGH_IDLE + 20,
      [](gpointer text) -> gboolean {
        *static_cast<std::string*>(text) += "redrawn ";
        return G_SOURCE_REMOVE;
      },
      &order, nullptr);
  post([&] { order += "task "; });
  ASSERT_TRUE(comesToRest());
  EXPECT_EQ(order, "task redrawn ");
}

TEST_F(GlibMainLoop, TheLoopSleepsWhenNothingWaits) {
  ASSERT_TRUE(glib::attachMainQueue());
  bool ran = false;
  post([&] { ran = true; });
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(ran);
  EXPECT_FALSE(g_main_context_pending(nullptr));
}

TEST_F(GlibMainLoop, WhatWaitsWhenItIsDetachedStaysOnTheQueue) {
  ASSERT_TRUE(glib::attachMainQueue());
  std::string order;
  post([&] {
    order += 'a';
    glib::detachMainQueue();
    glib::detachMainQueue();
    post([&] { order += 'b'; });
  });
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(order, "a");
  ASSERT_TRUE(glib::attachMainQueue());
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(order, "ab");
}

TEST_F(GlibMainLoop, ItIsAttachedOnceAndToOneContext) {
  EXPECT_TRUE(glib::attachMainQueue());
  EXPECT_TRUE(glib::attachMainQueue());
  EXPECT_TRUE(glib::attachMainQueue(g_main_context_default()));
  GMainContext* const other = g_main_context_new();
  EXPECT_FALSE(glib::attachMainQueue(other));
  int runs = 0;
  post([&] { ++runs; });
  EXPECT_FALSE(g_main_context_iteration(other, FALSE));
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(runs, 1);
  glib::detachMainQueue();
  EXPECT_TRUE(glib::attachMainQueue(other));
  post([&] { ++runs; });
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(g_main_context_iteration(other, FALSE));
  EXPECT_EQ(runs, 2);
  glib::detachMainQueue();
  g_main_context_unref(other);
}

TEST_F(GlibMainLoop, AnotherThreadThanTheMainOneAttachesNothing) {
  MainQueue::instance().claim();
  bool attached = true;
  std::thread([&] { attached = glib::attachMainQueue(); }).join();
  EXPECT_FALSE(attached);
  bool ran = false;
  post([&] { ran = true; });
  EXPECT_TRUE(comesToRest());
  EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace orv::main_loop_test
