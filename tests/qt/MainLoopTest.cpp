#include "Application.h"
#include <tests/support/MainQueuePosts.h>

#include <gtest/gtest.h>
#include <orvnetwork_qt/MainLoop.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace orv::main_loop_test {
namespace {

using test::Application;
using test::post;
using test::postFromElsewhere;

/// The real main queue, in a real loop. What must not happen is looked for until the loop has nothing to do any more.
class QtMainLoop : public ::testing::Test {
 protected:
  /// Handles events until there are none; false when that has no end.
  static bool comesToRest() {
    auto* const dispatcher = QAbstractEventDispatcher::instance();
    for (int round = 0; round < 1000; ++round) {
      if (!dispatcher->processEvents(QEventLoop::AllEvents)) return true;
    }
    return false;
  }
};

TEST_F(QtMainLoop, TasksOfAllThreadsRunInTheLoopInTheOrderPosted) {
  Application application;
  ASSERT_TRUE(qt::attachMainQueue());
  std::string order;
  post([&] { order += 'a'; });
  postFromElsewhere([&] { order += 'b'; });
  post([&] {
    order += 'c';
    post([&] {
      order += 'd';
      QCoreApplication::exit(7);
    });
  });
  EXPECT_EQ(order, "") << "a task ran outside the loop";
  EXPECT_EQ(application->exec(), 7);
  EXPECT_EQ(order, "abcd");
}

TEST_F(QtMainLoop, WhatWaitsBeforeItIsAttachedRunsToo) {
  Application application;
  post([] { QCoreApplication::exit(3); });
  ASSERT_TRUE(qt::attachMainQueue());
  EXPECT_EQ(application->exec(), 3);
}

TEST_F(QtMainLoop, ALoopInsideATaskRunsWhatWaitsBehindThatTaskAndWhatComesLater) {
  Application application;
  ASSERT_TRUE(qt::attachMainQueue());
  std::string order;
  post([&] {
    order += 'a';
    QEventLoop dialogue;
    post([&] {
      order += 'c';
      // Two steps, each in a turn of its own: the queue has to wake this loop anew.
      postFromElsewhere([&] {
        order += 'd';
        postFromElsewhere([&] {
          order += 'e';
          dialogue.quit();
        });
      });
    });
    dialogue.exec();
    order += 'f';
    QCoreApplication::quit();
  });
  post([&] { order += 'b'; });
  EXPECT_EQ(application->exec(), 0);
  EXPECT_EQ(order, "abcdef");
}

TEST_F(QtMainLoop, LoopsStandInsideEachOtherAndEndInAnyOrder) {
  Application application;
  ASSERT_TRUE(qt::attachMainQueue());
  std::string order;
  std::function<void(int)> open = [&](int depth) {
    if (depth == 0) return;
    QEventLoop loop;
    order += '(';
    post([&, depth] {
      open(depth - 1);
      postFromElsewhere([&] { loop.quit(); });
    });
    loop.exec();
    order += ')';
  };
  post([&] {
    open(4);
    QCoreApplication::quit();
  });
  EXPECT_EQ(application->exec(), 0);
  EXPECT_EQ(order, "(((())))");
}

TEST_F(QtMainLoop, ALoopThatLeavesOutUserInputAndSocketsRunsTasks) {
  Application application;
  ASSERT_TRUE(qt::attachMainQueue());
  QEventLoop loop;
  post([&] { postFromElsewhere([&] { loop.exit(5); }); });
  EXPECT_EQ(loop.exec(QEventLoop::ExcludeUserInputEvents | QEventLoop::ExcludeSocketNotifiers), 5);
}

TEST_F(QtMainLoop, ATaskThatPostsItselfAgainLeavesTimersTheirTurn) {
  Application application;
  ASSERT_TRUE(qt::attachMainQueue());
  int rounds = 0;
  bool stop = false;
  std::function<void()> again = [&] {
    ++rounds;
    if (!stop) post(again);
  };
  post(again);
  int rings = 0;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, [&] {
    stop = ++rings == 3;
    if (stop) QCoreApplication::quit();
  });
  timer.start(0);
  EXPECT_EQ(application->exec(), 0);
  EXPECT_EQ(rings, 3);
  EXPECT_GE(rounds, 2);
}

TEST_F(QtMainLoop, TheLoopSleepsWhenNothingWaits) {
  Application application;
  ASSERT_TRUE(qt::attachMainQueue());
  bool ran = false;
  post([&] {
    QEventLoop loop;
    post([&] { loop.quit(); });
    loop.exec();
    ran = true;
  });
  EXPECT_TRUE(comesToRest());
  EXPECT_TRUE(ran);
}

TEST_F(QtMainLoop, AttachedTwiceItIsAttachedOnce) {
  Application application;
  ASSERT_TRUE(qt::attachMainQueue());
  ASSERT_TRUE(qt::attachMainQueue());
  int runs = 0;
  post([&] { ++runs; });
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(runs, 1);
  qt::detachMainQueue();
  post([&] { ++runs; });
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(runs, 1) << "it was still attached";
}

TEST_F(QtMainLoop, NothingIsAttachedWithoutAnApplicationOrOnAnotherThread) {
  EXPECT_FALSE(qt::attachMainQueue());
  Application application;
  std::thread([] { EXPECT_FALSE(qt::attachMainQueue()); }).join();
  bool ran = false;
  post([&] { ran = true; });
  EXPECT_TRUE(comesToRest());
  EXPECT_FALSE(ran);
}

TEST_F(QtMainLoop, ACallbackMayDetachAndAttachAnew) {
  Application application;
  ASSERT_TRUE(qt::attachMainQueue());
  std::string order;
  post([&] {
    order += 'a';
    qt::detachMainQueue();
    post([&] { order += 'b'; });
  });
  EXPECT_TRUE(comesToRest());
  EXPECT_EQ(order, "a") << "a task ran after the queue was detached";
  ASSERT_TRUE(qt::attachMainQueue());
  post([&] {
    order += 'c';
    qt::detachMainQueue();
    EXPECT_TRUE(qt::attachMainQueue());
    postFromElsewhere([&] {
      order += 'd';
      QCoreApplication::quit();
    });
  });
  EXPECT_EQ(application->exec(), 0);
  EXPECT_EQ(order, "abcd");
}

TEST_F(QtMainLoop, WithTheApplicationItEndsAndAnotherOneGoesOn) {
  auto first = std::make_unique<Application>();
  ASSERT_TRUE(qt::attachMainQueue());
  std::string order;
  post([&] { order += 'a'; });
  ASSERT_TRUE(comesToRest());
  post([&] { order += 'b'; });
  first.reset();
  postFromElsewhere([&] { order += 'c'; });
  EXPECT_EQ(order, "a");
  EXPECT_FALSE(qt::attachMainQueue());

  Application second;
  ASSERT_TRUE(qt::attachMainQueue());
  post([] { QCoreApplication::quit(); });
  EXPECT_EQ(second->exec(), 0);
  EXPECT_EQ(order, "abc");
}

TEST_F(QtMainLoop, TheApplicationMayEndWhileOtherThreadsPost) {
  std::atomic<bool> over{false};
  std::thread worker;
  {
    Application application;
    ASSERT_TRUE(qt::attachMainQueue());
    worker = std::thread([&over] {
      while (!over) {
        post([] {});
        std::this_thread::yield();
      }
    });
    int turns = 0;
    std::function<void()> again = [&] {
      if (++turns == 50) return QCoreApplication::quit();
      post(again);
    };
    post(again);
    EXPECT_EQ(application->exec(), 0);
    EXPECT_EQ(turns, 50);
  }
  over = true;
  worker.join();
}

}  // namespace
}  // namespace orv::main_loop_test
