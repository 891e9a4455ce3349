#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/api/detail/OperationBinding.h>

#include <tests/support/LinkFixture.h>

#include <boost/json/parse.hpp>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace orv::operation_registry_test {
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

/// The keyword forms of all operations that the catalogue's headers declare.
std::multiset<std::string> declaredOperations() {
  std::multiset<std::string> declared;
  const std::filesystem::path folder = std::string(ORV_TEST_SOURCE_DIR) + "/../orvnetwork/api";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const auto name = entry.path().filename().string();
    if (!name.starts_with("QXAPIHelper") || !name.ends_with(".h")) continue;
    std::ifstream file(entry.path());
    std::stringstream header;
    header << file.rdbuf();
    const auto text = header.str();
    const std::regex declaration(R"(static\s+void\s+(\w+)\()");
    for (std::sregex_iterator at(text.begin(), text.end(), declaration), end; at != end; ++at) {
      declared.insert(binding::keywordForm((*at)[1].str()));
    }
  }
  return declared;
}

TEST_F(Registry, ListsEveryOperationOfTheCatalogueOnce) {
  std::multiset<std::string> listed;
  for (const auto& operation : registry().operations()) listed.insert(operation.name);
  EXPECT_EQ(listed, declaredOperations());
  EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()).size(), 110u)
      << "109 commands and the generic request";
  EXPECT_EQ(listed.size(), 110u);
}

TEST_F(Registry, KeepsNamesAsTheyAreSpelled) {
  for (const auto* name :
       {"coursePostUpdate:coverMdiaId:completeBlock:timeoutBlock:",
        "uploadCourseMeterialItems:fileID:title:images:completeBlock:timeoutBlock:",
        "deleteCourseMeterialItemsWithID:completeBlock:timeoutBlock:",
        "getUploadAuthWithParameters:CompleteBlock:timeoutBlock:",
        "loginGetWechatWebLoginInfoComplete:timeoutBlock:", "enableWeiXinLoginCompleteBlock:timeoutBlock:",
        "classroomInfoGetItemsCompleteBlock:timeoutBlock:",
        "courseGetMiniPragmQrcodeWithRoomID:width:completeBlock:timeoutBlock:",
        "_updateLiveCourseWithRoomID:title:startTime:chargeType:price:registeInfo:coverURL:teacher:teacher2:"
        "teacherIntro:courseIntro:isCreateCourse:isTest:keltoOpen:completeBlock:timeoutBlock:"}) {
    EXPECT_NE(registry().find(name), nullptr) << name;
  }
}

TEST_F(Registry, TakesBothSpellingsOfAllOnes) {
  bringUp();
  const auto* update =
      "coursePostUpdate:title:courseType:coursePrice:startTime:teacher:teacherIntro:intro:coverMediaId:"
      "completeBlock:"
      "timeoutBlock:";
  for (const auto* type : {"-1", "18446744073709551615"}) {
    EXPECT_EQ(invoke(update, std::string(R"(["8","t",)") + type + ",9.9]"), "");
  }
  EXPECT_NE(invoke(update, R"(["8","t",-2,9.9])"), "");
  settle();
  const auto sent = server.requests();
  ASSERT_EQ(sent.size(), 2u);
  for (const auto& frame : sent) {
    const auto& values = frame.at("v").as_object();
    EXPECT_FALSE(values.contains("courseType") || values.contains("coursePrice")) << values;
  }
}

TEST_F(Registry, RefusesANullWhereAValueOfAnyKindIsRequired) {
  bringUp();
  const auto* name = "getCourseSharecard:completeBlock:timeoutBlock:";
  EXPECT_EQ(invoke(name, "[null]"),
            "argument 1 (roomID) must be any value, got nothing: " + registry().find(name)->signature());
  settle();
  EXPECT_TRUE(server.requests().empty());
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
  for (const auto* name :
       {"", "login", "loginWithMobile:password:", "LOGOUTWithCompleteBlock:timeoutBlock:"}) {
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
  EXPECT_EQ(invoke(kPasswordLogin, R"([138,"abc"])"),
            "argument 1 (mobile) must be text or null, got a number: " +
                registry().find(kPasswordLogin)->signature());
  EXPECT_EQ(invoke(kPasswordLogin, R"(["138",null])"), "argument 2 (password) must be text, got nothing: " +
                                                           registry().find(kPasswordLogin)->signature());
  EXPECT_EQ(invoke(kPasswordLogin, R"(["138"])"), "argument 2 (password) must be text, got nothing: " +
                                                      registry().find(kPasswordLogin)->signature());
  for (const auto* wrong : {"[]", "1", "\"x\"", "true"}) {
    EXPECT_NE(
        invoke("requestWithCommand:values:completeBlock:timeoutBlock:", std::string("[\"x\",") + wrong + "]"),
        "")
        << wrong;
  }
  settle();
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(Registry, HandsTheCallbacksOver) {
  int timeouts = 0;
  registry().find("logoutWithCompleteBlock:timeoutBlock:")->invoke({}, nullptr, [&](const auto&) {
    ++timeouts;
  });
  EXPECT_EQ(timeouts, 1) << "the link is closed";
}

}  // namespace
}  // namespace orv::operation_registry_test
