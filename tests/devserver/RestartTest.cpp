// The program is killed in the middle of its work, again and again; its data file stays whole.

#include "devserver/DevServer.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerProcess.h"
#include "tests/devserver/ServerTest.h"

#include <sched.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>

namespace orv::test::restart_test {
namespace {

class Restart : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kProgram)) GTEST_SKIP() << "the programs are not built here";
    file = std::string(std::getenv("HOME")) + "/school.sqlite";
  }

  /// The first value of a query on the file.
  std::string look(const char* sql) const {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    sqlite3_busy_timeout(database, 20'000);
    std::string value;
    auto take = [](void* into, int, char** columns, char**) {
      *static_cast<std::string*>(into) = columns[0] == nullptr ? "" : columns[0];
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(database, sql, take, &value, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
    return value;
  }

  /// Adds charged courses; their room ids.
  static json::array addCourses(std::uint16_t port) {
    int status = 0;
    const std::string body = RawClient::http(
        port, "POST", "/control",
        json::serialize(json::object{{"course", "add"},
                                     {"count", kRooms},
                                     {"fields", {{"title", "课"}, {"courseType", 2}, {"coursePrice", 1}}}}),
        status);
    EXPECT_EQ(status, 200);
    return json::parse(body).as_object().at("roomIDs").as_array();
  }

  /// Enrolments that clients have made and the server has committed.
  std::size_t enrolments() const {
    return std::stoul(look("SELECT count(*) FROM enrolments WHERE price = 1"));
  }

  static constexpr std::size_t kRooms = 300;  ///< added in each round
  static constexpr std::size_t kAnswered =
      10;  ///< enrolments in each round that are waited for; the rest is not
  std::string file;
};

/// An enrolment writes the enrolment, the course's figures and the classroom's income: all of it or nothing.
TEST_F(Restart, KilledInTheMiddleOfCommandsItKeepsWhatItAnsweredAndNothingByHalves) {
  std::size_t acknowledged = 0;
  for (std::size_t round = 0; round < 8; ++round) {
    ServerProcess program({"--data", file});
    const std::uint16_t port = program.listeningPort();
    const json::array rooms = addCourses(port);
    RawClient client = RawClient::open(port);
    const auto login = client.request("User.Post.Login", {{"phone", kStudent}, {"pwd", kDigest}});
    ASSERT_EQ(login.at("v").at("ret"), 0);
    std::string pipelined;
    for (std::size_t i = 0; i < kRooms; ++i) {
      json::object values;
      values.emplace("roomID", rooms.at(i));
      if (i >= kAnswered) {
        pipelined += RawClient::frameBytes(1, RawClient::standardFrame("Course.User.Enroll", values, "1"));
        continue;
      }
      ASSERT_EQ(client.request("Course.User.Enroll", values).at("v").at("ret"), 0);
      ++acknowledged;
    }
    const std::size_t before = enrolments();
    client.sendBytes(pipelined);
    while (enrolments() < before + 10 * round) sched_yield();
    program.signal(SIGKILL);
    program.wait();
    EXPECT_EQ(look("PRAGMA integrity_check"), "ok");
    EXPECT_GE(enrolments(), acknowledged);
    EXPECT_EQ(look("SELECT count(*) FROM courses WHERE json_extract(doc, '$.enrolmentCnt') <>"
                   " (SELECT count(*) FROM enrolments WHERE enrolments.roomID = courses.roomID)"),
              "0");
    EXPECT_EQ(look("SELECT CAST(json_extract(doc, '$.income') AS REAL) = (SELECT sum(price) FROM enrolments)"
                   " FROM classrooms WHERE id = 5001"),
              "1");
    EXPECT_EQ(look("SELECT count(*) FROM courses WHERE title LIKE '课 %'"),
              std::to_string(kRooms * (round + 1)));
  }
  ServerProcess program({"--data", file});
  RawClient client = RawClient::open(program.listeningPort());
  EXPECT_EQ(client.request("User.Post.Login", {{"phone", kStudent}, {"pwd", kDigest}}).at("v").at("ret"), 0);
}

TEST_F(Restart, KilledWhileItFillsANewFileItFillsItTheNextTime) {
  for (int round = 0; round < 10; ++round) {
    std::filesystem::remove(file);
    std::filesystem::remove(file + "-wal");
    std::filesystem::remove(file + "-shm");
    {
      ServerProcess program({"--data", file});
      const std::string part = round % 2 == 0 ? file : file + "-wal";
      while (!std::filesystem::exists(part)) sched_yield();
      program.signal(SIGKILL);
      program.wait();
    }
    DevServer::Options options;
    options.dataFile = file;
    DevServer server(options);
    EXPECT_EQ(look("SELECT count(*) FROM accounts"), "8");
    EXPECT_EQ(look("SELECT count(*) FROM courses WHERE classroomID = 5001 AND liveType = 2 AND NOT draft"),
              "51");
    EXPECT_EQ(look("SELECT count(*) FROM voiceCategories"), "6");
  }
}

TEST(RestartInTheProcess, EverythingIsThereAgainAndPresenceIsNot) {
  DevServer::Options options;
  options.dataFile = std::string(std::getenv("HOME")) + "/school.sqlite";
  std::int64_t room = 0;
  {
    DevServer server(options);
    server.start();
    room = server.addCourse({{"liveType", 1}, {"status", 1}});
    RawClient client = RawClient::open(server.port());
    client.request("User.Post.Login", {{"phone", kTeacher}, {"pwd", kDigest}});
    json::object values;
    values.emplace("roomID", room);
    ASSERT_EQ(client.request("Live.Room.Post.Start", values).at("v").at("ret"), 0);
    values.emplace("content", "留言");
    ASSERT_EQ(client.request("Course.Post.wall", values).at("v").at("ret"), 0);
  }
  DevServer server(options);
  server.start();
  EXPECT_EQ(server.course(room)->at("liveStatus"), 1);
  RawClient client = RawClient::open(server.port());
  client.request("User.Post.Login", {{"phone", kTeacher}, {"pwd", kDigest}});
  json::object values;
  values.emplace("roomID", room);
  const auto stat = client.request("Live.Room.Get.Stat", values);
  EXPECT_EQ(stat.at("v").at("data").at("wallCnt"), 1);
  EXPECT_EQ(stat.at("v").at("data").at("onlineCnt"), 0);
}

}  // namespace
}  // namespace orv::test::restart_test
