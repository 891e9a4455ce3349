// The server and the network of the walk.

#include "CourseListWalk.h"

#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/ReplyFault.h>

#include <algorithm>
#include <utility>

namespace orv {

using testing::ConnectPlan;
using testing::ReplyFault;

/// A recorded course where the status is 0.
json::object CourseListWalk::makeItem(std::int64_t status) {
  const std::int64_t liveType = status == 0 ? live_type::kRecorded : live_type::kLive;
  return {{"roomID", ++lastRoom_},
          {"title", "课程 " + std::to_string(pick(1000))},
          {"liveType", liveType},
          {"status", std::max<std::int64_t>(status, 1)},
          {"publishStatus", publish_status::kPublished},
          {"startTimeEnable", 1},
          {"startTime", pick(1000)}};
}

void CourseListWalk::changeSchool() {
  const std::int64_t status = pick(4);
  Items& list = school()[status];
  const auto deed = pick(20);
  if (list.empty() || (deed < 9 && list.size() < 100)) {
    list.insert(list.begin() + pick(list.size() + 1), makeItem(status));
    return;
  }
  const auto at = list.begin() + pick(list.size());
  if (deed < 12) {
    list.erase(at);
  } else if (deed < 14) {
    (*at)["title"] = "改名 " + std::to_string(pick(1000));
  } else if (deed < 16) {
    json::object item = std::move(*at);
    list.erase(at);
    list.insert(list.begin() + pick(list.size() + 1), std::move(item));
  } else if (deed < 18 && status == 0) {
    (*at)["status"] = oneIn(2) ? course_status::kWithdrawn : course_status::kComing;
  } else if (deed < 18) {
    json::object item = std::move(*at);
    list.erase(at);
    item["status"] = status % 3 + 1;
    Items& other = school()[status % 3 + 1];
    other.insert(other.begin() + pick(other.size() + 1), std::move(item));
  } else if (oneIn(10)) {
    list.erase(list.begin(), list.begin() + pick(list.size() + 1));
  } else if (oneIn(10)) {
    std::reverse(list.begin(), list.end());
  } else if (oneIn(4)) {
    while (list.size() % 30 != 0) list.push_back(makeItem(status));
  }
}

json::array CourseListWalk::pageOf(const json::object& frame) {
  const json::object& values = frame.at("v").as_object();
  const std::string classroom(std::to_string(looseInt64(member(values, "classroomID"))));
  const Items& list = schools_[classroom][looseInt64(member(values, "status"))];
  const auto page = static_cast<std::size_t>(looseInt64(member(values, "start")));
  if (page < 1 || looseInt64(member(values, "limit")) != 30) complain("there is no such page");
  json::array items;
  for (std::size_t at = (page - 1) * 30; at < page * 30 && at < list.size(); ++at) items.push_back(list[at]);
  return items;
}

void CourseListWalk::serve(testing::ConnectionId connection, const json::object& frame) {
  const auto command = std::string(frame.at("c").as_string());
  if (command != "Course.Get.Items" && command != "Course.Get.Coming") {
    return server_.reply(connection, frame, {{"ret", 0}, {"data", json::object()}});
  }
  ++pages_;
  if (!wellBehaved_ && servesBadly(connection, frame)) return;
  server_.reply(connection, frame, {{"ret", 0}, {"data", pageOf(frame)}});
  // The school changes between two pages more than elsewhere.
  if (!wellBehaved_ && oneIn(3)) changeSchool();
}

/// Whether this was an answer, or none, of its own.
bool CourseListWalk::servesBadly(testing::ConnectionId connection, const json::object& frame) {
  switch (pick(40)) {
    case 0:
      return true;
    case 1:
      server_.reply(connection, frame, {{"ret", 5}, {"err", "walk"}});
      return true;
    case 2:
      server_.reply(connection, frame, {{"ret", 1001}});
      return true;
    case 3:
      server_.faultNextReply(ReplyFault::late(Seconds(static_cast<double>(pick(12)))));
      return false;
    case 4:
      server_.faultNextReply(ReplyFault::duplicate());
      return false;
    default:
      return false;
  }
}

void CourseListWalk::disturbLink() {
  const auto connection = server_.latest();
  switch (pick(6)) {
    case 0:
      return server_.reset(connection);
    case 1:
      return server_.cut(connection);
    case 2:
      return server_.close(connection, 1001, "walk");
    case 3:
      return platform_.network().setLatency(Seconds(static_cast<double>(pick(100)) / 1000), Seconds(0.05));
    case 4:
      return QXUserInfoMgr::getInstance().refresheSession();
    default:
      return platform_.network().planConnect(oneIn(2) ? ConnectPlan::refuse()
                                                      : ConnectPlan::accept(Seconds(2)));
  }
}

void CourseListWalk::letTimePass() {
  switch (pick(10)) {
    case 0:
      platform_.runFor(Seconds(static_cast<double>(pick(30))));
      if (!link_.isOpen()) link_.reconnect();
      break;
    case 1:
    case 2:
    case 3:
    case 4:
      for (auto left = pick(30); left > 0 && platform_.step(); --left) {
      }
      break;
    default:
      platform_.runFor(Seconds(static_cast<double>(pick(1000)) / 1000));
  }
  if (server_.frames().size() > 1000) server_.clearRecords();
}

}  // namespace orv
