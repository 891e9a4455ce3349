// Every command of the catalogue has its answer.

#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <fstream>
#include <limits>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace orv::test::catalogue_test {
namespace {

class Catalogue : public ServerTest {
 protected:
  static std::set<std::string> documented() {
    std::ifstream file(std::string(ORV_TEST_SOURCE_DIR) + "/../docs/commands.md");
    std::stringstream text;
    text << file.rdbuf();
    const std::string document = text.str();
    const std::regex name("`([A-Z][a-z]+(\\.[A-Za-z]+){2,3})`");
    std::set<std::string> names;
    for (std::sregex_iterator found(document.begin(), document.end(), name), end; found != end; ++found) {
      names.insert((*found)[1]);
    }
    return names;
  }
  /// A value of some kind, often one that means something.
  json::value someValue(int depth = 0) {
    switch (random() % (depth < 2 ? 12 : 10)) {
      case 0:
        return nullptr;
      case 1:
        return random() % 2 == 0;
      case 2:
        return static_cast<std::int64_t>(random() % 5) - 1;
      case 3:
        return static_cast<std::int64_t>(100'001 + random() % 8);
      case 4:
        return static_cast<std::int64_t>(70'001 + random() % 80);
      case 5:
        return std::to_string(70'001 + random() % 80).c_str();
      case 6:
        return std::numeric_limits<std::uint64_t>::max();
      case 7:
        return -1e300;
      case 8:
        return "课'\"%_\\\x7f😀";
      case 9:
        return "123456";
      case 10:
        return json::array{someValue(depth + 1), someValue(depth + 1)};
      default:
        return one("roomID", someValue(depth + 1));
    }
  }

  std::mt19937 random{20240131};
};

TEST_F(Catalogue, EveryDocumentedCommandIsCarriedOut) {
  const std::vector<std::string> known = server.commands();
  EXPECT_EQ(documented(), std::set<std::string>(known.begin(), known.end()));
  EXPECT_GT(known.size(), 80u);
}

TEST_F(Catalogue, CommandsWithoutAnyValuesAreAnsweredOrRefusedByName) {
  const std::set<std::int64_t> codes{0, 2, 1104};
  for (const std::string& command : server.commands()) {
    RawClient client = signedIn();
    const auto reply = client.request(command, {});
    EXPECT_TRUE(codes.contains(code(reply))) << json::serialize(reply);
    if (code(reply) != 0) {
      EXPECT_FALSE(errorText(reply).empty()) << command;
    }
  }
}

TEST_F(Catalogue, ValuesOfEveryKindAreAnsweredAndNeverBreakAnything) {
  static const std::vector<const char*> kKeys = {
      "roomID",  "classroomID", "uID",        "title",  "start",   "limit",     "liveType",  "id",
      "type",    "status",      "phone",      "pwd",    "scode",   "teacherID", "role",      "wallID",
      "content", "commentID",   "fileID",     "path",   "width",   "cateID",    "startTime", "coursePrice",
      "test",    "draft",       "enrollcols", "images", "command", "value",     "page",      "vendorID",
      "npwd",    "opwd",        "nick",       "code"};
  const std::vector<std::string> commands = server.commands();
  for (int round = 0; round < 40; ++round) {
    RawClient client = signedIn(round % 2 == 0 ? kTeacher : kStudent);
    for (const std::string& command : commands) {
      if (command.starts_with("User.Post.")) continue;
      json::object values;
      for (std::size_t i = 1 + random() % 8; i > 0; --i) values[kKeys[random() % kKeys.size()]] = someValue();
      client.sendText(RawClient::standardFrame(command, values, "7"));
      json::object reply = client.receiveObject();
      while (reply.contains("s") && reply.at("s") != "7") reply = client.receiveObject();
      ASSERT_TRUE(reply.contains("v")) << command << json::serialize(values);
      EXPECT_LT(code(reply), 9000) << json::serialize(reply) << json::serialize(values);
    }
  }
  RawClient client = signedIn();
  EXPECT_EQ(code(client.request("Course.Get.Coming", {})), 0);
}

}  // namespace
}  // namespace orv::test::catalogue_test
