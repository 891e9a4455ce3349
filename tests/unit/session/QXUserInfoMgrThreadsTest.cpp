// The user on real threads.

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <string_view>
#include <system_error>
#include <thread>

namespace orv::qx_user_info_mgr_threads_test {
namespace {

constexpr int kRounds = 60;

std::shared_ptr<OrvUserInfoModel> userNumber(int number) {
  const std::string text = std::to_string(number);
  return makeRecord<OrvUserInfoModel>(json::object{{"uID", text}, {"token", text}, {"nick", text}});
}

class QXUserInfoMgrThreads : public ::testing::Test {
 protected:
  QXUserInfoMgrThreads() {
    Console::setSink([](std::string_view) {});
    MainQueue::instance().claim();
  }
  ~QXUserInfoMgrThreads() override { Console::setSink(nullptr); }

  /// Runs the main queue until the threads have ended.
  static void pumpUntilEnded(std::vector<std::thread>& threads, const std::atomic<int>& running) {
    auto& main = MainQueue::instance();
    while (running > 0) {
      pollfd watched{main.wakeUpDescriptor(), POLLIN, 0};
      ::poll(&watched, 1, 10);
      main.drain();
    }
    for (auto& thread : threads) thread.join();
    while (main.drain() > 0) {
    }
  }
};

TEST_F(QXUserInfoMgrThreads, AllThreadsMayDoEverythingAtOnce) {
  auto& users = QXUserInfoMgr::getInstance();
  std::atomic<int> told{0};
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidChangeUserInfo), [&](const Notification&) {
        EXPECT_TRUE(MainQueue::instance().isCurrent());
        ++told;
      });
  std::vector<std::thread> threads;
  std::atomic<int> running{4};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kRounds; ++i) {
        users.setUserInfo(userNumber(t * kRounds + i));
        const auto user = users.userInfo();
        EXPECT_TRUE(user);
        user->nick = "changed";
        EXPECT_TRUE(users.isLogined());
        users.websocketStatusChanged();
        users.refresheSession();
        users.startRefreshSession();
        users.stopRefreshSession();
        users.setErrorCount(users.errorCount() + 1);
        users.setWxUserInfo(std::make_shared<WXUserInfoModel>());
        users.setClassrooms({std::make_shared<OrvClassroomInfo>()});
        EXPECT_TRUE(users.userInfoPlist());
        EXPECT_EQ(users.classrooms().size(), 1u);
      }
      --running;
    });
  }
  pumpUntilEnded(threads, running);
  EXPECT_GT(told.load(), 0);
  EXPECT_EQ(users.autoLogintimer(), nullptr) << "every start was followed by a stop";
  const auto stored = readDictionaryFile(*users.userInfoPlist());
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->at("uID"), json::value(*users.userInfo()->uID.get())) << "memory and file agree";
}

TEST_F(QXUserInfoMgrThreads, TheFirstUseOnManyThreadsYieldsTheLoadedInstanceToAll) {
  const std::string folder = std::string(std::getenv("HOME")) + "/Documents/userInfo";
  std::error_code error;
  ASSERT_TRUE(Platform::current().files().createDirectory(folder, true, 0700, error));
  ASSERT_TRUE(writePropertyListFile(folder + "/userInfo.plist", userNumber(7)->jsonObject(),
                                    Durability::Plain, 0600));
  int told = 0;
  const auto token = NotificationCenter::defaultCenter().observe(std::string(QXNotificationDidChangeUserInfo),
                                                                 [&](const Notification&) { ++told; });
  std::vector<std::thread> threads;
  std::atomic<int> running{8};
  std::atomic<int> logined{0};
  std::atomic<bool> go{false};
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      go.wait(false);
      logined += QXUserInfoMgr::getInstance().isLogined() ? 1 : 0;
      --running;
    });
  }
  go = true;
  go.notify_all();
  pumpUntilEnded(threads, running);
  EXPECT_EQ(logined.load(), 8);
  EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace orv::qx_user_info_mgr_threads_test
