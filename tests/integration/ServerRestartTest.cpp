// The server's program is killed in the middle of everything and started again on the same file and port.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/Url.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <devserver/DevServer.h>
#include <tests/devserver/RawClient.h>
#include <tests/devserver/ServerProcess.h>
#include <tests/support/LiveLink.h>

#include <boost/json/serialize.hpp>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::server_restart_test {
namespace {

constexpr std::size_t kAdded = 270;

class ServerRestart : public test::LiveLinkTest {
 protected:
  /// A page's answer, which comes on the catalogue's queue.
  struct Answer {
    std::atomic<bool> came{false};
    std::atomic<bool> success{false};
    std::atomic<std::int64_t> count{0};
  };

  void SetUp() override {
    if (!std::filesystem::exists(test::kProgram)) GTEST_SKIP() << "the programs are not built here";
    options_.dataFile = std::string(std::getenv("HOME")) + "/school.sqlite";
    DevServer school(options_);
    // A client passes over these; the pages of a range that is not forced are told by the courses that are listed.
    for (std::int64_t room = 70'001; const auto course = school.course(room); ++room) {
      const auto status = course->at("status").as_int64(), published = course->at("publishStatus").as_int64();
      if (status == 4 || (status == 5 && published == 2)) {
        school.changeCourse(room, {{"status", 5}, {"publishStatus", 1}});
      }
    }
    rooms = school.addCourses(kAdded);
  }
  void TearDown() override {
    // Overtakes a write that still waits on a worker: the test's home is about to go.
    if (users().isLogined()) users().setUserInfo(users().userInfo());
  }

  static QXUserInfoMgr& users() { return QXUserInfoMgr::getInstance(); }
  static QXCourseManager& courses() { return QXCourseManager::getInstance(); }

  /// Starts the program; from the second time on at the port that it had.
  void startProgram() {
    program_.emplace(std::vector<std::string>{"--data", options_.dataFile, "--port", std::to_string(port_)});
    url_ = program_->listeningUrl();
    port_ = parseUrl(url_).value().server.port;
  }
  void killProgram() {
    program_->signal(SIGKILL);
    EXPECT_EQ(program_->wait(), -SIGKILL);
    program_.reset();
  }
  void control(std::string_view key, json::value value) const {
    int status = 0;
    json::object request;
    request.emplace(key, std::move(value));
    const std::string answer =
        test::RawClient::http(port_, "POST", "/control", json::serialize(request), status);
    ASSERT_EQ(status, 200) << answer;
  }

  void signIn() {
    users();
    courses();
    startProgram();
    bringUp(url_);
    QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock(
        "13800000001", "classroom",
        [this](const auto&, bool success, const json::object& reply) {
          ASSERT_TRUE(success);
          users().setUserInfo(makeRecord<OrvUserInfoModel>(&reply.at("v").at("data")));
          outcomes.push_back("signed in");
        },
        timeout("login"));
    ASSERT_TRUE(waitForOutcomes(1));
    outcomes.clear();
    notifications.clear();
  }

  static std::shared_ptr<Answer> askForCourses(std::uint64_t count, bool force) {
    auto answer = std::make_shared<Answer>();
    courses().getCoursesWithStartIndex_count_force_coursesBlock(0, count, force,
                                                                [answer](bool success, std::int64_t found) {
                                                                  answer->success = success;
                                                                  answer->count = found;
                                                                  answer->came = true;
                                                                });
    return answer;
  }

  /// The recorded courses that the server gives, in its order.
  std::vector<std::string> keysOfServer() {
    const json::object reply =
        ask("Course.Get.Items",
            {{"classroomID", 5001}, {"start", 1}, {"liveType", 2}, {"limit", 500}, {"draft", false}});
    std::vector<std::string> keys;
    for (const auto& item : reply.at("v").at("data").as_array()) {
      keys.push_back(std::to_string(item.at("roomID").as_int64()));
    }
    return keys;
  }

  /// Gets the whole catalogue anew and compares it with the server's.
  void expectTheServersCatalogue() {
    const auto answer = askForCourses(1'000, true);
    ASSERT_TRUE(pumpUntil([&] { return answer->came.load(); }));
    EXPECT_TRUE(answer->success);
    const auto keys = keysOfServer();
    EXPECT_EQ(answer->count, static_cast<std::int64_t>(keys.size()));
    EXPECT_EQ(courses().cloudCourseList(), keys);
    EXPECT_GT(keys.size(), kAdded);
  }
  bool waitUntilRenewed() {
    return pumpUntil([&] { return countLogged("refresh session success") >= 1; });
  }

  DevServer::Options options_;
  std::vector<std::int64_t> rooms;

 private:
  std::optional<test::ServerProcess> program_;
  std::uint16_t port_ = 0;
  std::string url_;
};

TEST_F(ServerRestart, EverythingThatWasUnderWayEndsAndTheCatalogueIsTheServersAgain) {
  ASSERT_NO_FATAL_FAILURE(signIn());
  const auto loaded = askForCourses(60, false);
  ASSERT_TRUE(pumpUntil([&] { return loaded->came.load(); }));
  // The next page and three requests are held for want of a session, and one request is never answered.
  control("expire", "all");
  const auto loading = askForCourses(300, false);
  // First the page: it would take the place of a request that has drawn the same identifier, if it came later.
  ASSERT_TRUE(pumpUntil([&] { return link.parkedRequestCount() == 1; })) << link.parkedRequestCount();
  const Strings commands{"Course.User.Mycourse", "Course.Get.Income", "Classroom.Get.Items"};
  for (const auto& command : commands) send(command);
  ASSERT_TRUE(pumpUntil([&] { return link.parkedRequestCount() == commands.size() + 1; }))
      << link.parkedRequestCount();
  EXPECT_FALSE(loading->came);
  control("silence", true);
  send("Course.Get.Row", json::object{{"roomID", rooms.front()}, {"app", 2}});
  ASSERT_TRUE(waitForReconnectPause());

  killProgram();
  ASSERT_TRUE(waitForPosted(QXNotificationDidFailWithError));
  EXPECT_FALSE(link.isOpen());
  send("Course.User.Myfollow");
  EXPECT_EQ(outcomes, Strings{"Course.User.Myfollow timeout"}) << "at once, while there is no link";
  {
    // What happens at the school meanwhile.
    DevServer away(options_);
    for (const std::size_t i : {std::size_t{0}, std::size_t{5}, kAdded - 10}) away.removeCourse(rooms[i]);
    away.addCourse({{"title", "新课"}, {"status", 5}});
  }
  startProgram();
  ASSERT_TRUE(waitUntilReopened());
  ASSERT_TRUE(waitUntilRenewed());
  ASSERT_TRUE(waitForOutcomes(5));
  const Strings ended(outcomes.begin() + 1, outcomes.end());
  for (const auto& command : commands) EXPECT_EQ(std::ranges::count(ended, command + " ok"), 1) << command;
  EXPECT_EQ(std::ranges::count(ended, "Course.Get.Row timeout"), 1);
  ASSERT_TRUE(pumpUntil([&] { return loading->came.load(); }));
  EXPECT_TRUE(loading->success);
  EXPECT_EQ(loading->count, 300);
  EXPECT_EQ(link.parkedRequestCount(), 0u);
  ASSERT_NO_FATAL_FAILURE(expectTheServersCatalogue());
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  EXPECT_EQ(users().errorCount(), 0);
  users().stopRefreshSession();
}

TEST_F(ServerRestart, ServerThatIsBackAtOnceIsTakenUpAtOnce) {
  ASSERT_NO_FATAL_FAILURE(signIn());
  ASSERT_TRUE(waitForReconnectPause());
  const auto loaded = askForCourses(60, false);
  ASSERT_TRUE(pumpUntil([&] { return loaded->came.load(); }));
  // A page is under way for certain: one that a worker asked for while the link is just lost would have it open anew at once,
  // before there is a server.
  control("silence", true);
  const auto loading = askForCourses(300, false);
  ASSERT_TRUE(pumpUntil([&] { return link.outstandingRequestCount() == 1; }));
  killProgram();
  startProgram();
  ASSERT_TRUE(waitUntilReopened());
  ASSERT_TRUE(waitUntilRenewed());
  EXPECT_EQ(count(QXNotificationDidFailWithError), 0u) << "by the first retry";
  ASSERT_NO_FATAL_FAILURE(expectTheServersCatalogue());
  EXPECT_TRUE(loading->came) << "with the request after it, at the latest";
  users().stopRefreshSession();
}

}  // namespace
}  // namespace orv::server_restart_test
