// The server and the network of the walk.

#include "CourseWalk.h"

#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/ReplyFault.h>

#include "devserver/page/Page.h"

#include <optional>

namespace orv {

using testing::ConnectPlan;
using testing::ReplyFault;

namespace {

/// A request's, less what the latency of the link can be.
constexpr Seconds kTimeout(9.8);
/// Less than any step of the walk's time.
constexpr Seconds kRounding(1e-6);

}  // namespace

json::object CourseWalk::makeItem(std::int64_t liveType, std::int64_t status) {
  lastRoom_ += 1 + pick(3);
  return {
      {"roomID", lastRoom_},  {"title", "课程 " + std::to_string(pick(1000))}, {"liveType", liveType},
      {"status", status},     {"publishStatus", publish_status::kPublished},   {"startTimeEnable", pick(2)},
      {"startTime", pick(50)}};
}

void CourseWalk::changeSchool() {
  School& school = schools_[std::to_string(5001 + pick(2))];
  if (oneIn(2)) return changeLiveCourses(school);
  auto& list = school.recorded;
  const int deed = pick(10);
  if (list.empty() || (deed < 5 && list.size() < 130)) {
    list.insert(list.begin(), makeItem(live_type::kRecorded, course_status::kComing));
    return;
  }
  const auto at = list.begin() + pick(static_cast<int>(list.size()));
  if (deed < 7) {
    list.erase(at);
  } else if (deed < 8) {
    (*at)["title"] = "改名 " + std::to_string(pick(1000));
  } else if (deed < 9) {
    (*at)["status"] =
        oneIn(2) ? 1 : 4 + pick(2);  // Withdrawn courses are drafts when they are not published.
    (*at)["publishStatus"] = pick(4);
  } else if (oneIn(30)) {
    list.clear();
  }
}

void CourseWalk::changeLiveCourses(School& school) {
  const std::int64_t status = 1 + pick(3);
  auto& list = school.live[status];
  const int deed = pick(10);
  if (list.empty() || (deed < 5 && list.size() < 70)) {
    list.insert(list.begin() + pick(static_cast<int>(list.size()) + 1),
                makeItem(oneIn(2) ? live_type::kLive : live_type::kLiveWithVideo, status));
    return;
  }
  const auto at = list.begin() + pick(static_cast<int>(list.size()));
  if (deed < 6) {
    list.erase(at);
  } else if (deed < 8) {
    (*at)["title"] = "改名 " + std::to_string(pick(1000));
  } else if (deed < 9) {
    json::object moved = *at;
    list.erase(at);
    moved["status"] = status % 3 + 1;
    auto& other = school.live[status % 3 + 1];
    other.insert(other.begin() + pick(static_cast<int>(other.size()) + 1), std::move(moved));
  } else {
    std::swap(*at, list.front());
  }
}

json::array CourseWalk::listed(const json::object& frame) {
  const json::object& values = frame.at("v").as_object();
  const bool isLive = frame.at("c") == "Course.Get.Coming";
  const json::value& classroom = values.at("classroomID");
  School& school = schools_[classroom.is_string() ? std::string(classroom.get_string())
                                                  : std::to_string(classroom.to_number<std::int64_t>())];
  const auto& list = isLive ? school.live[looseInt64(member(values, "status"))] : school.recorded;
  const auto page = static_cast<std::size_t>(looseInt64(member(values, "start")));
  const auto limit = static_cast<std::size_t>(looseInt64(member(values, "limit")));
  if (page < 1 || limit != 30) complain("a page was asked for that there cannot be");
  json::array items;
  for (std::size_t at = (page - 1) * limit; at < page * limit && at < list.size(); ++at) {
    items.push_back(list[at]);
  }
  return items;
}

void CourseWalk::serve(testing::ConnectionId connection, const json::object& frame) {
  const auto command = std::string(frame.at("c").as_string());
  if (command == "User.Post.Session") {
    sessionLost_ = false;
    return server_.reply(connection, frame, {{"ret", 0}, {"data", json::object()}});
  }
  if (command != "Course.Get.Items" && command != "Course.Get.Coming") {
    if (!wellBehaved_ && oneIn(5)) return;
    return server_.reply(connection, frame,
                         {{"ret", 0}, {"data", {{"title", "更新"}, {"status", 1 + pick(3)}}}});
  }
  Page& page = command == "Course.Get.Items" ? recordedPage_ : livePage_;
  notePage(command, frame, page);
  json::array items = listed(frame);
  // As long as the list does not grow a range behind its end asks for the same page over and over, as when a full page
  // has courses that are passed over. Three refusals end that.
  if (page.repeats > (wellBehaved_ ? kMostRepeats : 5)) {
    page.answered = platform_.elapsed();
    return server_.reply(connection, frame, {{"ret", 5}, {"err", "enough"}});
  }
  if (!wellBehaved_ && servesBadly(connection, frame, page)) return;
  if (!page.answered) page.answered = platform_.elapsed();
  server_.reply(connection, frame, {{"ret", 0}, {"data", std::move(items)}});
}

void CourseWalk::notePage(const std::string& command, const json::object& frame, Page& page) {
  ++pages_;
  const std::string timestamp(frame.at("s").as_string());
  if (timestamp == page.timestamp) return;  // Sent once more, after the session.
  const Seconds now = platform_.elapsed();
  // Sums of seconds are rounded.
  const bool isOver = (page.answered && now + kRounding >= *page.answered) || now >= page.asked + kTimeout;
  if (!isOver) complain("two pages of " + command + " are under way");
  const json::object& values = frame.at("v").as_object();
  std::string number =
      describe(values.at("start")) + " of status " + std::to_string(looseInt64(member(values, "status")));
  const int repeats = number == page.number ? page.repeats + 1 : 0;
  page = Page{timestamp, now, std::nullopt, std::move(number), repeats};
}

/// Whether this was an answer, or none, of its own.
bool CourseWalk::servesBadly(testing::ConnectionId connection, const json::object& frame, Page& page) {
  const auto answerWith = [&](json::object values) {
    page.answered = platform_.elapsed();
    server_.reply(connection, frame, std::move(values));
    return true;
  };
  if (oneIn(300)) sessionLost_ = true;
  if (sessionLost_) {
    server_.reply(connection, frame, {{"ret", 1001}});
    return true;
  }
  switch (pick(30)) {
    case 0:
      return true;  // no answer
    case 1:
      return answerWith({{"ret", 5}, {"err", "walk"}});
    case 2:
      return answerWith({{"ret", 0}, {"data", oneIn(2) ? json::value("text") : json::value(nullptr)}});
    case 3:
      return answerWith(
          {{"ret", 0}, {"data", {nullptr, 5, json::object{{"roomID", "text"}}, json::array{}}}});
    case 4: {
      const Seconds delay(pick(12));
      page.answered = platform_.elapsed() + delay;
      server_.faultNextReply(ReplyFault::late(delay));
      return false;
    }
    case 5:
      server_.faultNextReply(ReplyFault::duplicate());
      return false;
    default:
      return false;
  }
}

void CourseWalk::disturbLink() {
  const auto connection = server_.latest();
  switch (pick(6)) {
    case 0:
      server_.reset(connection);
      break;
    case 1:
      server_.cut(connection);
      break;
    case 2:
      server_.close(connection, 1001, "walk");
      break;
    case 3:
      platform_.network().setLatency(Seconds(pick(100) / 1000.0), Seconds(pick(100) / 1000.0));
      break;
    case 4:
      QXUserInfoMgr::getInstance().refresheSession();
      break;
    default:
      platform_.network().planConnect(oneIn(2) ? ConnectPlan::refuse() : ConnectPlan::accept(Seconds(2)));
  }
}

void CourseWalk::letTimePass() {
  switch (pick(10)) {
    case 0:
      platform_.runFor(Seconds(pick(30)));
      if (!link_.isOpen()) link_.reconnect();
      break;
    case 1:
    case 2:
    case 3:
      for (int i = pick(30); i > 0 && platform_.step(); --i) {
      }
      break;
    default:
      platform_.runFor(Seconds(pick(1000) / 1000.0));
  }
  // The records of a long life would fill the memory.
  if (server_.frames().size() > 1000) server_.clearRecords();
}

}  // namespace orv
