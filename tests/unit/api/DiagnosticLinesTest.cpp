// What the catalogue's operations tell the console, and what they answer without the server.

#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/platform/MainBundle.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <boost/json/parse.hpp>

#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv::diagnostic_lines_test {
namespace {

class DiagnosticLines : public LinkFixture {
 protected:
  /// The console lines of one call.
  Strings linesOf(std::string_view name, std::string_view arguments) {
    console.clear();
    std::vector<Object> values;
    const auto parsed = json::parse(arguments);
    for (const auto& value : parsed.as_array()) values.emplace_back(json::value(value));
    EXPECT_EQ(OperationRegistry::standard().find(name)->invoke(values, nullptr, nullptr), "") << name;
    return console;
  }
};

TEST_F(DiagnosticLines, ShowTheValuesOfSomeOperations) {
  bringUp();
  EXPECT_EQ(
      linesOf("thirdLoginWithOpenID:unionID:token:nickName:sex:type:avatar:uid:completeBlock:timeoutBlock:",
              R"(["o"])"),
      Strings{"dictValues={\n    guid = \"uuid-1\";\n    openid = o;\n}"});
  EXPECT_EQ(linesOf("bindPhone:scode:type:token:completeBlock:timeoutBlock:", R"(["1",null,5])"),
            Strings{"dictValues={\n    phone = 1;\n    type = 5;\n}"});
  EXPECT_EQ(linesOf("coursePostDelete:completeBlock:timeoutBlock:", "[88]"),
            Strings{"dictValues={\n    roomID = 88;\n}"});
  EXPECT_EQ(linesOf("getReplayVideoList:start:limit:completeBlock:timeoutBlock:", "[null,0,30]"),
            Strings{"dictValues={\n    limit = 30;\n    start = 0;\n}"});
  EXPECT_EQ(
      linesOf(
          "coursePostUpdate:title:courseType:coursePrice:startTime:teacher:teacherIntro:intro:coverMediaId:"
          "enrollTableEnable:enrollcols:completeBlock:timeoutBlock:",
          R"([8,null,-1,0,null,null,null,null,null,0,[]])"),
      Strings{"dictValues={\n    enrollTableEnable = 0;\n    enrollcols = (\n    );\n    roomID = 8;\n}"});
  EXPECT_EQ(linesOf("updateLiveCourse:coverMediaId:completeBlock:timeoutBlock:", "[1,2]"),
            Strings{"command = Course.Post.Update, values = {\n    coverMediaId = 2;\n    oss = 1;\n    "
                    "roomID = 1;\n}"});
  EXPECT_EQ(
      linesOf(
          "getMyCourseWithStart:limit:classroomID:uID:containTest:courseStatus:completeBlock:timeoutBlock:",
          "[0,30,0,0,false,0]"),
      Strings{"{\n    limit = 30;\n    start = 0;\n    test = 0;\n}"});
}

TEST_F(DiagnosticLines, ShowWhatTheLiveCourseBuilderMade) {
  bringUp();
  const auto builder = [&](const char* create) {
    return linesOf(
        "_updateLiveCourseWithRoomID:title:startTime:chargeType:price:registeInfo:coverURL:teacher:teacher2:"
        "teacherIntro:courseIntro:isCreateCourse:isTest:keltoOpen:completeBlock:timeoutBlock:",
        std::string("[0,null,60,1,0,0,null,null,null,null,null,") + create + ",false,true]");
  };
  const std::string values =
      "{\n    coursePrice = 0;\n    courseType = 1;\n    enrollTableEnable = 0;\n    enrollcols = (\n    );\n"
      "    \"kelto_open\" = 1;\n    liveType = 1;\n    startTime = \"1970-01-01 00:01\";\n    "
      "startTimeEnable = 1;\n"
      "    test = 0;\n}";
  EXPECT_EQ(builder("true"), Strings{"dictValues = " + values + "; command = Course.Post.Create"});
  EXPECT_EQ(builder("false"), Strings{"dictValues = " + values + "; command = Course.Post.Update"});
}

TEST_F(DiagnosticLines, ComeFromNoOtherOperation) {
  bringUp();
  const std::map<ArgumentKind, Object> samples{{ArgumentKind::Text, "x"},
                                               {ArgumentKind::Any, "x"},
                                               {ArgumentKind::Dictionary, json::object{{"k", 1}}},
                                               {ArgumentKind::Integer, 1},
                                               {ArgumentKind::Real, 1.5},
                                               {ArgumentKind::Array, json::array{1}},
                                               {ArgumentKind::Flag, true},
                                               {ArgumentKind::Date, 1000},
                                               {ArgumentKind::UnsignedInteger, 1}};
  std::size_t talkative = 0;
  for (const auto& operation : OperationRegistry::standard().operations()) {
    std::vector<Object> arguments;
    for (const auto& parameter : operation.parameters) arguments.push_back(samples.at(parameter.kind));
    console.clear();
    EXPECT_EQ(operation.invoke(arguments, nullptr, nullptr), "");
    talkative += console.empty() ? 0 : 1;
  }
  // The seven above and the three that build a live course.
  EXPECT_EQ(talkative, 10u);
}

class LocalAnswers : public LinkFixture {};

TEST_F(LocalAnswers, ACodeForNoCourseTimesOutAtOnceWithoutAnItem) {
  bringUp();
  int timeouts = 0;
  QXAPIHelper::courseGetMiniPragmQrcodeWithRoomID_width_completeBlock_timeoutBlock(
      0, 430, [](const auto&, bool, const auto&) { FAIL(); },
      [&](const auto& item) {
        ++timeouts;
        EXPECT_EQ(item, nullptr);
      });
  EXPECT_EQ(timeouts, 1);
  QXAPIHelper::courseGetMiniPragmQrcodeWithRoomID_width_completeBlock_timeoutBlock(0, 430, nullptr, nullptr);
  runFor(11);
  EXPECT_EQ(timeouts, 1);
  EXPECT_TRUE(server.requests().empty());
  QXAPIHelper::courseGetMiniPragmQrcodeWithRoomID_width_completeBlock_timeoutBlock(1, 430, nullptr, nullptr);
  settle();
  EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(LocalAnswers, ANumberThatIsNoneIsNotSentAndTimesOut) {
  bringUp();
  int timeouts = 0;
  console.clear();
  QXAPIHelper::courseGetMiniPragmQrcodeWithRoomID_width_completeBlock_timeoutBlock(
      1, std::numeric_limits<double>::quiet_NaN(), nullptr, [&](const auto& item) {
        ++timeouts;
        EXPECT_NE(item, nullptr);
      });
  ASSERT_EQ(console.size(), 1u);
  EXPECT_TRUE(console[0].starts_with("conver to json error: dic->")) << console[0];
  runFor(9.9);
  EXPECT_EQ(timeouts, 0);
  runFor(0.2);
  EXPECT_EQ(timeouts, 1);
  EXPECT_TRUE(server.requests().empty());
}

class ApplicationVersion : public LinkFixture {
 protected:
  std::string sent() {
    QXAPIHelper::enableWeiXinLoginCompleteBlock_timeoutBlock(nullptr, nullptr);
    settle();
    return json::serialize(server.requests().back().at("v"));
  }
  void placeInfoFile(std::string_view dictionary) {
    std::error_code error;
    platform.directories().setExecutableFolder("/opt/classroom/bin");
    platform.files().createDirectory("/opt/classroom/bin", true, 0755, error);
    platform.files().writeAtomically("/opt/classroom/bin/Info.plist",
                                     "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" +
                                         std::string(dictionary) + "\n</plist>\n",
                                     Durability::Plain, 0644, error);
  }
};

TEST_F(ApplicationVersion, IsTheLinksWithoutABundle) {
  bringUp();
  EXPECT_EQ(sent(), R"({"version":"2.3.1.57","app":"orvcourse"})");
  link.setAppBuildVersion(std::nullopt);
  EXPECT_EQ(sent(), R"x({"version":"2.3.1.(null)","app":"orvcourse"})x");
}

TEST_F(ApplicationVersion, IsTheBundlesWhereThereIsOne) {
  placeInfoFile(
      "<dict><key>CFBundleShortVersionString</key><string>4.0</string>"
      "<key>CFBundleVersion</key><string>1201</string></dict>");
  bringUp();
  EXPECT_EQ(sent(), R"({"version":"4.0.1201","app":"orvcourse"})");
}

TEST_F(ApplicationVersion, IsTheHostsBeforeAll) {
  placeInfoFile("<dict><key>CFBundleShortVersionString</key><string>4.0</string></dict>");
  bringUp();
  MainBundle::setVersions("5.1", "9");
  EXPECT_EQ(sent(), R"({"version":"5.1.9","app":"orvcourse"})");
  MainBundle::setVersions(std::nullopt, std::nullopt);
  EXPECT_EQ(sent(), R"({"version":"4.0.57","app":"orvcourse"})")
      << "what the file does not tell is the link's";
}

}  // namespace
}  // namespace orv::diagnostic_lines_test
