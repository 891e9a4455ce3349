#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orv::orv_course_model_refresh_test {
namespace {

constexpr auto kCommand = "Course.Get.Info";

/// How a refresh went, as its callback was told.
struct Outcome {
  bool success = false;
  OptionalString message;
  std::optional<json::object> reply;

  /// The values of the reply as text; empty when there was no reply.
  std::string values() const {
    const auto* member = reply ? reply->if_contains("v") : nullptr;
    return member != nullptr ? json::serialize(*member) : "";
  }
};

class OrvCourseModelRefresh : public LinkFixture {
 protected:
  OrvCourseModelRefresh() {
    course->roomID = 77;
    course->videoUrl = "old";
    course->videoStatus = 9;
    bringUp();
    console.clear();
  }

  OrvCourseModel::RefreshBlock intoOutcomes() {
    return [this](bool success, const OptionalString& message, const json::object* reply) {
      EXPECT_TRUE(platform.mainQueue().isCurrent());
      refreshes.push_back({success, message, reply ? std::optional(*reply) : std::nullopt});
    };
  }
  /// Refreshes the course while the server answers with these values.
  void refreshWith(json::object values) {
    answerAll(std::move(values));
    course->refreshCourseInfoWithCompleteBlock(intoOutcomes());
    settle();
    ASSERT_FALSE(refreshes.empty());
  }
  void refreshWithData(json::value data) { refreshWith({{"ret", 0}, {"data", std::move(data)}}); }
  /// Refreshes the course while the server answers with a frame whose "v" is this text, or has none.
  void refreshWithRaw(std::string_view v) {
    server.onRequest([this, v](testing::ConnectionId connection, const json::object& frame) {
      std::string text = R"({"C":"Course.Get.Info","s":)" + json::serialize(frame.at("s"));
      if (!v.empty()) text.append(R"(,"v":)").append(v);
      server.send(connection, text + "}");
    });
    course->refreshCourseInfoWithCompleteBlock(intoOutcomes());
    settle();
    ASSERT_FALSE(refreshes.empty());
  }
  json::value roomAskedFor() {
    course->refreshCourseInfoWithCompleteBlock(nullptr);
    settle();
    return server.lastRequest(kCommand).value().at("v");
  }
  void expectUntouched() {
    EXPECT_EQ(course->videoUrl.get(), "old");
    EXPECT_EQ(course->videoStatus.get(), 9u);
  }
  void expectFailure(std::string_view message) {
    EXPECT_FALSE(refreshes.back().success);
    EXPECT_EQ(refreshes.back().message, message);
    EXPECT_TRUE(refreshes.back().reply);
    expectUntouched();
  }
  void expectSuccess() {
    EXPECT_TRUE(refreshes.back().success);
    EXPECT_EQ(refreshes.back().message, std::nullopt);
    EXPECT_TRUE(refreshes.back().reply);
  }

  std::shared_ptr<OrvCourseModel> course = std::make_shared<OrvCourseModel>();
  std::vector<Outcome> refreshes;
};

// What is asked for.

TEST_F(OrvCourseModelRefresh, AsksForItsRoomAsText) {
  EXPECT_EQ(roomAskedFor(), json::value({{"roomID", "77"}}));
  course->roomID = -1;
  EXPECT_EQ(roomAskedFor(), json::value({{"roomID", "-1"}}));
  course->roomID = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(roomAskedFor(), json::value({{"roomID", "9223372036854775807"}}));
}

TEST_F(OrvCourseModelRefresh, AsksForTheCopyInTheCloudOfAPublishedLocalCourse) {
  course->orv_local = true;
  course->publishStatus = 1;
  course->orv_cloudRoomID = 500;
  EXPECT_EQ(roomAskedFor(), json::value({{"roomID", "500"}}));
}

TEST_F(OrvCourseModelRefresh, AsksForItsRoomWhenAnythingOfThatIsMissing) {
  course->orv_local = true;
  course->publishStatus = 1;
  course->orv_cloudRoomID = 0;
  EXPECT_EQ(roomAskedFor(), json::value({{"roomID", "77"}})) << "no copy";
  course->orv_cloudRoomID = -500;
  EXPECT_EQ(roomAskedFor(), json::value({{"roomID", "77"}})) << "no copy";
  course->orv_cloudRoomID = 500;
  course->publishStatus = 99;
  EXPECT_EQ(roomAskedFor(), json::value({{"roomID", "77"}})) << "not published";
  course->publishStatus = 1;
  course->orv_local = false;
  EXPECT_EQ(roomAskedFor(), json::value({{"roomID", "77"}})) << "not local";
}

TEST_F(OrvCourseModelRefresh, SendsOneRequest) {
  refreshWithData({{"videoUrl", "new"}});
  EXPECT_EQ(server.requests(kCommand).size(), 1u);
  EXPECT_EQ(refreshes.size(), 1u);
}

// What is taken over.

TEST_F(OrvCourseModelRefresh, TakesOverAddressAndStateOfTheReplay) {
  course->title = "kept";
  refreshWithData({{"videoUrl", "https://new/回放.mp4"}, {"videoStatus", 3}, {"title", "not taken"}});
  expectSuccess();
  EXPECT_EQ(course->videoUrl.get(), "https://new/回放.mp4");
  EXPECT_EQ(course->videoStatus.get(), 3u);
  EXPECT_EQ(course->title.get(), "kept");
  EXPECT_EQ(course->roomID.get(), 77);
}

TEST_F(OrvCourseModelRefresh, HandsOverTheWholeReply) {
  refreshWithData({{"videoUrl", "new"}});
  EXPECT_EQ(refreshes.back().reply->at("C"), kCommand);
  EXPECT_EQ(refreshes.back().values(), R"({"ret":0,"data":{"videoUrl":"new"}})");
}

TEST_F(OrvCourseModelRefresh, HasTakenOverBeforeTheCallbackRuns) {
  answerAll({{"data", {{"videoUrl", "new"}, {"videoStatus", 3}}}});
  OptionalString seen;
  course->refreshCourseInfoWithCompleteBlock(
      [&](bool, const OptionalString&, const json::object*) { seen = course->videoUrl; });
  settle();
  EXPECT_EQ(seen, "new");
}

TEST_F(OrvCourseModelRefresh, ReadsTheStateAsAnInteger) {
  const std::vector<std::pair<json::value, std::uint64_t>> cases = {
      {7, 7},
      {"8", 8},
      {2.9, 2},
      {true, 1},
      {nullptr, 0},
      {"ready", 0},
      {json::array{1}, 0},
      {json::object{{"a", 1}}, 0},
      {-1, std::numeric_limits<std::uint64_t>::max()},
      {std::numeric_limits<std::uint64_t>::max(), std::numeric_limits<std::uint64_t>::max()},
  };
  for (const auto& [status, expected] : cases) {
    refreshWithData({{"videoUrl", "new"}, {"videoStatus", status}});
    EXPECT_EQ(course->videoStatus.get(), expected) << status;
  }
  course->videoStatus = 9;
  refreshWithData({{"videoUrl", "new"}});
  EXPECT_EQ(course->videoStatus.get(), 0u) << "a missing state is 0";
}

TEST_F(OrvCourseModelRefresh, SucceedsWithoutAnAddressAndChangesNothing) {
  for (const json::value& data :
       {json::value({{"videoStatus", 3}}), json::value({{"videoUrl", ""}, {"videoStatus", 3}}),
        json::value({{"videoUrl", nullptr}, {"videoStatus", 3}}),
        json::value({{"videoUrl", 5}, {"videoStatus", 3}}),
        json::value({{"videoUrl", json::array{"u"}}, {"videoStatus", 3}}), json::value(json::object()),
        json::value(json::array()), json::value("text"), json::value(5), json::value(false)}) {
    refreshWithData(data);
    expectSuccess();
    expectUntouched();
    EXPECT_EQ(refreshes.back().values(), R"({"ret":0,"data":)" + json::serialize(data) + "}");
  }
}

TEST_F(OrvCourseModelRefresh, SucceedsWithAnErrorTextBesideTheData) {
  refreshWith({{"data", {{"videoUrl", "new"}}}, {"err", "minor"}});
  expectSuccess();
  EXPECT_EQ(course->videoUrl.get(), "new");
}

// What goes wrong.

TEST_F(OrvCourseModelRefresh, FailsWithTheErrorTextOfTheServer) {
  refreshWith({{"ret", 5}, {"err", "no such course"}});
  expectFailure("no such course");
  EXPECT_EQ(refreshes.back().values(), R"({"ret":5,"err":"no such course"})");
}

TEST_F(OrvCourseModelRefresh, FailsWithoutDataEvenWhenTheServerAgrees) {
  refreshWith({{"ret", 0}, {"err", "课程已删除"}});
  expectFailure("课程已删除");
  refreshWith({{"ret", 0}});
  expectFailure("failed");
  refreshWith({{"ret", 0}, {"data", nullptr}});
  expectFailure("failed");
}

TEST_F(OrvCourseModelRefresh, TakesNothingFromARefusal) {
  refreshWith({{"ret", 5}, {"data", {{"videoUrl", "new"}, {"videoStatus", 3}}}});
  expectFailure("failed");
}

TEST_F(OrvCourseModelRefresh, FailsWithoutValues) {
  refreshWithRaw("");
  expectFailure("failed");
  EXPECT_EQ(refreshes.back().values(), "");
  refreshWithRaw("null");
  expectFailure("failed");
  EXPECT_EQ(refreshes.back().values(), "null");
  refreshWithRaw("{}");
  expectFailure("failed");
}

TEST_F(OrvCourseModelRefresh, ErrorsOfEveryKindBecomeText) {
  const std::vector<std::pair<json::value, std::string>> cases = {
      {"", ""},    {404, "404"},        {1.5, "1.5"},
      {true, "1"}, {nullptr, "failed"}, {json::object{{"code", 5}}, "{\n    code = 5;\n}"},
  };
  for (const auto& [err, message] : cases) {
    refreshWith({{"ret", 5}, {"err", err}});
    expectFailure(message);
  }
  refreshWith({{"ret", 5}, {"err", json::array{"a"}}});
  EXPECT_FALSE(refreshes.back().message.value().empty());
}

TEST_F(OrvCourseModelRefresh, ValuesOfAWrongKindAreNoReply) {
  server.onRequest([this](testing::ConnectionId connection, const json::object& frame) {
    server.send(connection, R"({"C":"Course.Get.Info","v":[],"s":)" + json::serialize(frame.at("s")) + "}");
  });
  course->refreshCourseInfoWithCompleteBlock(intoOutcomes());
  runFor(10);
  ASSERT_EQ(refreshes.size(), 1u);
  EXPECT_EQ(refreshes[0].message, "timeout");
}

TEST_F(OrvCourseModelRefresh, TimesOutAfterTenSeconds) {
  course->refreshCourseInfoWithCompleteBlock(intoOutcomes());
  runFor(9.999);
  EXPECT_EQ(refreshes.size(), 0u);
  runFor(0.001);
  ASSERT_EQ(refreshes.size(), 1u);
  EXPECT_FALSE(refreshes[0].success);
  EXPECT_EQ(refreshes[0].message, "timeout");
  EXPECT_EQ(refreshes[0].reply, std::nullopt);
  expectUntouched();
}

TEST_F(OrvCourseModelRefresh, TimesOutAtOnceWithoutALink) {
  server.cutAll();
  settle();
  ASSERT_FALSE(link.isOpen());
  course->refreshCourseInfoWithCompleteBlock(intoOutcomes());
  ASSERT_EQ(refreshes.size(), 1u) << "within the call";
  EXPECT_EQ(refreshes[0].message, "timeout");
  runFor(20);
  EXPECT_EQ(refreshes.size(), 1u);
}

// Who is there to hear it.

TEST_F(OrvCourseModelRefresh, NeedsNoCallback) {
  answerAll({{"data", {{"videoUrl", "new"}}}});
  course->refreshCourseInfoWithCompleteBlock(nullptr);
  settle();
  EXPECT_EQ(course->videoUrl.get(), "new");
  answerAll({{"ret", 5}});
  course->refreshCourseInfoWithCompleteBlock({});
  settle();
  server.onRequest(nullptr);
  course->refreshCourseInfoWithCompleteBlock({});
  runFor(10);
  EXPECT_EQ(console, Strings());
}

TEST_F(OrvCourseModelRefresh, DoesNotKeepTheRecordAndCallsBackWithoutIt) {
  answerAll({{"data", {{"videoUrl", "new"}, {"videoStatus", 3}}}});
  const std::weak_ptr<OrvCourseModel> gone = course;
  course->refreshCourseInfoWithCompleteBlock(intoOutcomes());
  course.reset();
  EXPECT_TRUE(gone.expired());
  settle();
  ASSERT_EQ(refreshes.size(), 1u);
  expectSuccess();
}

TEST_F(OrvCourseModelRefresh, ARecordThatNobodySharesOnlyCallsBack) {
  answerAll({{"data", {{"videoUrl", "new"}}}});
  OrvCourseModel alone;
  alone.roomID = 5;
  alone.refreshCourseInfoWithCompleteBlock(intoOutcomes());
  settle();
  ASSERT_EQ(refreshes.size(), 1u);
  expectSuccess();
  EXPECT_EQ(alone.videoUrl.get(), std::nullopt);
}

TEST_F(OrvCourseModelRefresh, LetsGoOfTheCallbackOnceItHasRun) {
  auto token = std::make_shared<int>();
  const std::weak_ptr<int> held = token;
  answerAll({{"data", json::object()}});
  course->refreshCourseInfoWithCompleteBlock([token](bool, const OptionalString&, const json::object*) {});
  token.reset();
  EXPECT_FALSE(held.expired());
  runFor(11);
  EXPECT_TRUE(held.expired());
}

TEST_F(OrvCourseModelRefresh, ACallbackThatThrowsIsToldOnTheConsole) {
  const auto thrower = [](bool, const OptionalString&, const json::object*) {
    throw std::runtime_error("the host's own trouble");
  };
  answerAll({{"data", {{"videoUrl", "new"}}}});
  course->refreshCourseInfoWithCompleteBlock(thrower);
  settle();
  EXPECT_EQ(course->videoUrl.get(), "new");
  server.onRequest(nullptr);
  course->refreshCourseInfoWithCompleteBlock(thrower);
  runFor(10);
  const std::string line = "refresh callback: the host's own trouble";
  EXPECT_EQ(console, (Strings{line, line}));
  refreshWithData(json::object());
  expectSuccess();
}

TEST_F(OrvCourseModelRefresh, MayBeStartedAgainFromItsCallback) {
  answerAll({{"data", {{"videoUrl", "new"}}}});
  course->refreshCourseInfoWithCompleteBlock([this](bool, const OptionalString&, const json::object*) {
    course->refreshCourseInfoWithCompleteBlock(intoOutcomes());
  });
  settle();
  EXPECT_EQ(refreshes.size(), 1u);
  EXPECT_EQ(server.requests(kCommand).size(), 2u);
}

TEST_F(OrvCourseModelRefresh, WaitsForASessionWhenTheServerWantsOne) {
  refreshes.clear();
  answerAll({{"ret", 1001}, {"err", "session"}});
  course->refreshCourseInfoWithCompleteBlock(intoOutcomes());
  runFor(60);
  EXPECT_EQ(refreshes.size(), 0u);
  expectUntouched();
}

}  // namespace
}  // namespace orv::orv_course_model_refresh_test
