#include "../transport/LinkFixture.h"

#include <orvnetwork/api/OperationRegistry.h>

#include <boost/json/parse.hpp>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace orv {
namespace {

const OperationRegistry& registry() {
  return OperationRegistry::standard();
}

class Registry : public LinkFixture {
 protected:
  static constexpr const char* kPasswordLogin = "loginWithMobile:password:completeBlock:timeoutBlock:";

  /// Calls an operation with arguments given as a JSON array; returns the complaint.
  static std::string invoke(std::string_view name, std::string_view arguments) {
    std::vector<Object> values;
    const auto parsed = json::parse(arguments).as_array();
    for (const auto& value : parsed) values.emplace_back(json::value(value));
    return registry().find(name)->invoke(values, nullptr, nullptr);
  }
};

TEST_F(Registry, ListsEveryOperationOfTheCatalogueOnce) {
  std::ifstream file(std::string(ORV_TEST_SOURCE_DIR) + "/../orvnetwork/api/QXAPIHelper.h");
  std::stringstream header;
  header << file.rdbuf();
  const auto text = header.str();
  const std::regex declaration(R"(static void (\w+)\()");
  std::set<std::string> declared;
  for (std::sregex_iterator at(text.begin(), text.end(), declaration), end; at != end; ++at) {
    auto name = (*at)[1].str();
    std::replace(name.begin() + 1, name.end(), '_', ':');
    declared.insert(name + ":");
  }
  std::set<std::string> listed;
  for (const auto& operation : registry().operations()) {
    EXPECT_TRUE(listed.insert(operation.name).second) << operation.name << " is listed twice";
  }
  EXPECT_GE(declared.size(), 5u);
  EXPECT_EQ(listed, declared);
}

TEST_F(Registry, KnowsNamesAndKindsOfArguments) {
  const auto* login = registry().find(kPasswordLogin);
  ASSERT_NE(login, nullptr);
  EXPECT_EQ(login->command, "User.Post.Login");
  ASSERT_EQ(login->parameters.size(), 2u);
  EXPECT_EQ(login->parameters[0].name, "mobile");
  EXPECT_EQ(login->parameters[0].kind, ArgumentKind::Text);
  EXPECT_FALSE(login->parameters[0].required);
  EXPECT_EQ(login->parameters[1].name, "password");
  EXPECT_TRUE(login->parameters[1].required);
  const auto* generic = registry().find("requestWithCommand:values:completeBlock:timeoutBlock:");
  ASSERT_NE(generic, nullptr);
  EXPECT_EQ(generic->parameters[1].kind, ArgumentKind::Dictionary);
  EXPECT_EQ(login->signature(), std::string(kPasswordLogin) + " (mobile: text or null, password: text)");
}

TEST_F(Registry, GivesEveryOperationNamesForAllItsArguments) {
  for (const auto& operation : registry().operations()) {
    std::set<std::string_view> names;
    for (const auto& parameter : operation.parameters) {
      EXPECT_FALSE(parameter.name.empty()) << operation.name;
      EXPECT_TRUE(names.insert(parameter.name).second) << operation.name;
    }
  }
}

TEST_F(Registry, FindsNothingUnderAWrongName) {
  for (const auto* name : {"", "login", "loginWithMobile:password:", "LOGOUTWithCompleteBlock:timeoutBlock:"}) {
    EXPECT_EQ(registry().find(name), nullptr) << name;
  }
}

TEST_F(Registry, CallsAnOperationWithJsonArguments) {
  bringUp();
  EXPECT_EQ(invoke(kPasswordLogin, R"(["138","abc"])"), "");
  EXPECT_EQ(invoke("loginWithMobile:code:completeBlock:timeoutBlock:", R"(["138"])"), "");
  EXPECT_EQ(invoke("logoutWithCompleteBlock:timeoutBlock:", "[]"), "");
  EXPECT_EQ(invoke("requestWithCommand:values:completeBlock:timeoutBlock:", R"(["x",{"a":[1,null]}])"), "");
  settle();
  const auto sent = server.requests();
  ASSERT_EQ(sent.size(), 4u);
  EXPECT_EQ(sent[0].at("v").at("pwd").as_string(), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_FALSE(sent[1].at("v").as_object().contains("scode")) << "missing trailing arguments are absent";
  EXPECT_EQ(json::serialize(sent[3].at("v")), R"({"a":[1,null]})");
}

TEST_F(Registry, SaysWhatIsWrongWithArgumentsAndSendsNothing) {
  bringUp();
  EXPECT_EQ(invoke(kPasswordLogin, R"(["138","abc","x"])"),
            "at most 2 arguments expected, got 3: " + registry().find(kPasswordLogin)->signature());
  EXPECT_EQ(invoke(kPasswordLogin, R"([138,"abc"])"), "argument 1 (mobile) must be text or null, got a number: " +
                                                          registry().find(kPasswordLogin)->signature());
  EXPECT_EQ(invoke(kPasswordLogin, R"(["138",null])"),
            "argument 2 (password) must be text, got nothing: " + registry().find(kPasswordLogin)->signature());
  EXPECT_EQ(invoke(kPasswordLogin, R"(["138"])"),
            "argument 2 (password) must be text, got nothing: " + registry().find(kPasswordLogin)->signature());
  for (const auto* wrong : {"[]", "1", "\"x\"", "true"}) {
    EXPECT_NE(invoke("requestWithCommand:values:completeBlock:timeoutBlock:", std::string("[\"x\",") + wrong + "]"),
              "")
        << wrong;
  }
  settle();
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(Registry, HandsTheCallbacksOver) {
  int timeouts = 0;
  registry()
      .find("logoutWithCompleteBlock:timeoutBlock:")
      ->invoke({}, nullptr, [&](const auto&) { ++timeouts; });
  EXPECT_EQ(timeouts, 1) << "the link is closed";
}

}  // namespace
}  // namespace orv
