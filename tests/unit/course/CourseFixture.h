#pragma once

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <tests/support/LinkFixture.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace orv {

/// The course manager of a user who is signed in, on the simulated platform, with a server whose courses the test
/// decides.
class CourseFixture : public LinkFixture {
 protected:
  CourseFixture() {
    server.onRequest(
        [this](auto connection, const json::object& frame) { answerRequest(connection, frame); });
  }

  /// A user as the server describes one.
  static std::shared_ptr<OrvUserInfoModel> makeUser(std::string uID = "100001",
                                                    std::string classroom = "5001") {
    auto user = std::make_shared<OrvUserInfoModel>();
    user->uID = std::move(uID);
    user->token = "token";
    user->classroom = classroom;
    user->classroominfo = makeRecord<OrvClassroomInfo>({{"id", classroom}, {"title", "五年级一班"}});
    return user;
  }
  /// Brings the link up with a user signed in.
  void signIn(const std::string& uID = "100001", const std::string& classroom = "5001") {
    QXUserInfoMgr::getInstance().setUserInfo(makeUser(uID, classroom));
    bringUp();
  }
  static json::object courseItem(std::int64_t roomID, std::int64_t liveType = live_type::kRecorded,
                                 std::int64_t status = course_status::kComing) {
    return {{"roomID", roomID}, {"title", "课程 " + std::to_string(roomID)},   {"liveType", liveType},
            {"status", status}, {"publishStatus", publish_status::kPublished}, {"classroomID", 5001}};
  }

  /// What the server lists: recorded courses, and live ones by status. Pages are cut from these.
  json::array recorded;
  std::map<std::int64_t, json::array> live;
  /// When set, answers a request in the place of the lists; absent: no answer comes.
  std::function<std::optional<json::object>(const json::object& request)> instead;

  /// The pages that were asked for, as "items 2" or "coming 1 of status 3".
  Strings pagesAsked;

  /// Asks for a range and waits for its answer, (-2, …) when none comes.
  struct Answer {
    bool success = false;
    std::int64_t count = -2;
    friend bool operator==(const Answer&, const Answer&) = default;
  };
  Answer getCourses(std::uint64_t start, std::uint64_t count, bool force = false) {
    Answer answer;
    courses().getCoursesWithStartIndex_count_force_coursesBlock(start, count, force,
                                                                [&answer](bool success, std::int64_t found) {
                                                                  answer = {success, found};
                                                                });
    settle();
    return answer;
  }
  Answer getLiveCourses(std::uint64_t start, std::uint64_t count, std::uint64_t status, bool force = false) {
    Answer answer;
    courses().getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(
        start, count, status, force, [&answer](bool success, std::int64_t found) {
          answer = {success, found};
        });
    settle();
    return answer;
  }
  static QXCourseManager& courses() { return QXCourseManager::getInstance(); }

  /// The page of the lists that a request asks for.
  json::object pageAsked(const json::object& request) {
    const json::object& values = request.at("v").as_object();
    const json::array& list = request.at("c") == "Course.Get.Items"
                                  ? recorded
                                  : live[values.at("status").to_number<std::int64_t>()];
    return page(list, values.at("start").to_number<std::int64_t>(),
                values.at("limit").to_number<std::int64_t>());
  }

 private:
  static json::object page(const json::array& list, std::int64_t number, std::int64_t limit) {
    json::array items;
    const std::int64_t pages = std::ssize(list) / limit + 1;
    const std::int64_t first = (std::min(number, pages + 1) - 1) * limit;
    for (std::int64_t i = first; i < first + limit && i < std::ssize(list); ++i) {
      items.push_back(list[static_cast<std::size_t>(i)]);
    }
    return {{"ret", 0}, {"data", std::move(items)}};
  }

  void answerRequest(testing::ConnectionId connection, const json::object& frame) {
    const json::object& values = frame.at("v").as_object();
    std::optional<json::object> reply = json::object{{"ret", 0}, {"data", json::object()}};
    if (frame.at("c") == "Course.Get.Items") {
      const std::int64_t number = values.at("start").to_number<std::int64_t>();
      pagesAsked.push_back("items " + std::to_string(number));
      reply = pageAsked(frame);
    } else if (frame.at("c") == "Course.Get.Coming") {
      const std::int64_t number = values.at("start").to_number<std::int64_t>();
      const std::int64_t status = values.at("status").to_number<std::int64_t>();
      pagesAsked.push_back("coming " + std::to_string(number) + " of status " + std::to_string(status));
      reply = pageAsked(frame);
    }
    if (instead) reply = instead(frame);
    if (reply) server.reply(connection, frame, *reply);
  }
};

}  // namespace orv
