#include "tests/devserver/ServerTest.h"

namespace orv::test::pushes_test {
namespace {

class Pushes : public ServerTest {};

TEST_F(Pushes, ReachEveryConnectionWithTheValuesGiven) {
  RawClient first = open(), second = open();
  for (const char* command :
       {"Rooms.Push.Message", "User.OtherDevice.Login", "User.OtherDevice.Logout", "System.Upload.Log"}) {
    const json::object values{{"type", 5}, {"text", "你好"}};
    EXPECT_EQ(server.push(command, values), 2u);
    for (RawClient* client : {&first, &second}) {
      const auto frame = client->receiveObject();
      EXPECT_EQ(frame.at("C"), command);
      EXPECT_TRUE(frame.at("s").is_int64());
      EXPECT_EQ(frame.at("v"), values);
    }
  }
  EXPECT_EQ(server.counters().pushesSent, 8u);
}

TEST_F(Pushes, ReachOnlyTheUserNamedByIdOrNumber) {
  RawClient teacher = open(), student = open();
  login(teacher, "13800000001");
  login(student, "13900000001");
  EXPECT_EQ(server.push("Rooms.Push.Message", {}, "13900000001"), 1u);
  EXPECT_EQ(student.receiveObject().at("C"), "Rooms.Push.Message");
  EXPECT_EQ(server.push("System.Upload.Log", {}, "100001"), 1u);
  EXPECT_EQ(teacher.receiveObject().at("C"), "System.Upload.Log");
  EXPECT_EQ(server.push("Rooms.Push.Message", {}, "nobody"), 0u);
}

}  // namespace
}  // namespace orv::test::pushes_test
