#include "devserver/school/Courses.h"

#include "devserver/school/Addresses.h"

#include <boost/json/parse.hpp>

#include <chrono>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace orv::devserver {

namespace {

/// A course as it is made where nothing else is said, in the order in which clients declare the members.
const json::object& usualCourse() {
  static const json::object usual = json::parse(R"json({
    "videoType":1,"seriesType":0,"status":5,"title":"未命名课程","viewCnt":0,"duration":0,"rolename":"主讲",
    "updatetime":0,"whiteboardDataID":0,"uID":0,"cover":0,"startTimeEnable":0,"courseType":1,"pptStatus":0,
    "addtime":0,"tvSeries":0,"liveType":2,"classroomID":0,"role":1,"income":0,"startTime":0,"enrolmentCnt":0,
    "coursePrice":0,"publishStatus":1,"videoStatus":1,"host":"classroom.example","liveStatus":0,"teacher":"",
    "teacherIntro":"","intro":"","liveCommand":0,"nick":"","userpic":"","livePauseRemainingTime":0,
    "liveStartTime":0,"liveTime":0,"test":false,"liveDuration":0,"kelto_open":false,"draft":false,
    "enrollTableEnable":0,"enrollcols":[]})json")
                                        .as_object();
  return usual;
}

void putIfMissing(json::object& object, const char* key, std::string value) {
  if (!object.contains(key)) object.emplace(key, std::move(value));
}

json::object courseOf(std::int64_t roomID, const json::object& stored) {
  json::object course;
  course.reserve(stored.size() + 10);
  course.emplace("roomID", roomID);
  for (const auto& [key, value] : stored) course.emplace(key, value);
  const std::string room = std::to_string(roomID);
  putIfMissing(course, "coverUrl", address("cover/" + room + ".jpg"));
  putIfMissing(course, "shareUrl", address("course/" + room));
  const bool recorded = numberIn(course, "liveType") == live_type::kRecorded;
  const bool watchable = recorded ? numberIn(course, "publishStatus") == publish_status::kPublished
                                  : numberIn(course, "status") == course_status::kOver;
  putIfMissing(course, "videoUrl", watchable ? address("video/" + room + ".mp4") : "");
  if (!recorded) {
    putIfMissing(course, "flvUrl", streamAddress("http", "flv", room + ".flv"));
    putIfMissing(course, "rtmpUrl", streamAddress("rtmp", "play", room));
    putIfMissing(course, "hlsUrl", streamAddress("http", "hls", room + ".m3u8"));
    putIfMissing(course, "publishUrl", streamAddress("rtmp", "publish", room));
  }
  return course;
}

void merge(json::object& object, const json::object& fields) {
  for (const auto& [key, value] : fields) {
    if (key == "roomID") continue;
    if (value.is_null()) {
      if (auto found = object.find(key); found != object.end()) object.stable_erase(found);
    } else {
      object[key] = value;
    }
  }
}

/// The text with SQLite's wild cards escaped by a backslash, between two that match anything.
std::string likePattern(const std::string& part) {
  std::string pattern = "%";
  for (char c : part) {
    if (c == '%' || c == '_' || c == '\\') pattern += '\\';
    pattern += c;
  }
  return pattern + "%";
}

/// A condition over "courses" that grows, with what its parameters are bound to.
struct Condition {
  std::string text = " WHERE 1";
  Database::Values values;

  void add(std::string_view clause) { text.append(" AND ").append(clause); }
  void add(std::string_view clause, Database::Value value) {
    add(clause);
    values.push_back(std::move(value));
  }
};

Condition conditionOf(const CourseFilter& filter) {
  Condition where;
  if (filter.roomID) where.add("roomID = ?", *filter.roomID);
  if (filter.classroomID) where.add("classroomID = ?", *filter.classroomID);
  if (!filter.liveTypes.empty()) {
    std::string list;
    for (std::int64_t type : filter.liveTypes) list += (list.empty() ? "" : ",") + std::to_string(type);
    where.add("liveType IN (" + list + ")");
  }
  if (filter.draft) where.add("draft = ?", static_cast<std::int64_t>(*filter.draft));
  if (filter.status) where.add("status = ?", *filter.status);
  if (filter.liveStatus) where.add("liveStatus = ?", *filter.liveStatus);
  if (filter.test) where.add("test = ?", static_cast<std::int64_t>(*filter.test));
  if (filter.teacher) {
    where.add("(uID = ? OR roomID IN (SELECT roomID FROM courseTeachers WHERE uID = ?))", *filter.teacher);
    where.values.emplace_back(*filter.teacher);
  }
  if (filter.enrolled) where.add("roomID IN (SELECT roomID FROM enrolments WHERE uID = ?)", *filter.enrolled);
  if (filter.follower) where.add("roomID IN (SELECT roomID FROM follows WHERE uID = ?)", *filter.follower);
  if (filter.withReplays) where.add("roomID IN (SELECT roomID FROM replays)");
  if (!filter.keyword.empty()) where.add("title LIKE ? ESCAPE '\\'", likePattern(filter.keyword));
  constexpr std::string_view kTime = "CASE startTimeEnable WHEN 0 THEN addtime ELSE startTime END";
  if (filter.fromTime) where.add(std::string(kTime) + " >= ?", *filter.fromTime);
  if (filter.toTime) where.add(std::string(kTime) + " <= ?", *filter.toTime);
  return where;
}

std::string_view orderOf(CourseFilter::Order order) {
  switch (order) {
    case CourseFilter::Order::StartAscending:
      return " ORDER BY startTimeEnable <> 0, startTime, roomID";
    case CourseFilter::Order::StartDescending:
      return " ORDER BY startTimeEnable <> 0, startTime DESC, roomID DESC";
    case CourseFilter::Order::RoomDescending:
      break;
  }
  return " ORDER BY roomID DESC";
}

}  // namespace

std::int64_t secondsNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

std::int64_t numberIn(const json::object& object, std::string_view key, std::int64_t fallback) {
  const json::value* value = object.if_contains(key);
  if (value == nullptr) return fallback;
  if (value->is_int64()) return value->get_int64();
  return value->is_bool() ? static_cast<std::int64_t>(value->get_bool()) : fallback;
}

double realIn(const json::object& object, std::string_view key) {
  const json::value* value = object.if_contains(key);
  if (value == nullptr || !value->is_number()) return 0;
  return value->is_double() ? value->get_double() : static_cast<double>(numberIn(object, key));
}

std::string textIn(const json::object& object, std::string_view key) {
  const json::value* value = object.if_contains(key);
  const json::string* text = value == nullptr ? nullptr : value->if_string();
  return text == nullptr ? std::string() : std::string(text->data(), text->size());
}

bool flagIn(const json::object& object, std::string_view key) {
  return numberIn(object, key) != 0;
}

std::optional<json::object> Courses::find(std::int64_t roomID) {
  auto rows = database_.query("SELECT doc FROM courses WHERE roomID = ?", {roomID});
  if (!rows.next()) return std::nullopt;
  return courseOf(roomID, rows.document(0));
}

json::array Courses::list(const CourseFilter& filter) {
  Condition where = conditionOf(filter);
  std::string sql = "SELECT roomID, doc FROM courses" + where.text;
  sql.append(orderOf(filter.order)).append(" LIMIT ? OFFSET ?");
  where.values.emplace_back(filter.limit);
  where.values.emplace_back(filter.first);
  json::array list;
  for (auto rows = database_.query(sql, where.values); rows.next();) {
    list.push_back(courseOf(rows.number(0), rows.document(1)));
  }
  return list;
}

std::int64_t Courses::count() {
  return database_.number("SELECT count(*) FROM courses").value_or(0);
}

std::int64_t Courses::add(const json::object& fields) {
  return count() >= kMax ? 0 : insert(fields);
}

std::int64_t Courses::insert(const json::object& fields) {
  json::object course = usualCourse();
  const std::int64_t now = secondsNow();
  course["addtime"] = now;
  course["updatetime"] = now;
  course["startTime"] = now;
  merge(course, fields);
  const std::int64_t wanted = numberIn(fields, "roomID");
  if (wanted > kGreatestRoom) {
    throw std::invalid_argument("\"roomID\": expected at most " + std::to_string(kGreatestRoom));
  }
  if (wanted > 0 && find(wanted)) {
    throw std::invalid_argument("there is a course with room id " + std::to_string(wanted));
  }
  database_.run("INSERT INTO courses(roomID, doc) VALUES(NULLIF(?, 0), ?)", {wanted, course});
  return database_.lastId();
}

bool Courses::change(std::int64_t roomID, const json::object& fields) {
  json::object course;
  {
    auto rows = database_.query("SELECT doc FROM courses WHERE roomID = ?", {roomID});
    if (!rows.next()) return false;
    course = rows.document(0);
  }
  merge(course, fields);
  database_.run("UPDATE courses SET doc = ? WHERE roomID = ?", {course, roomID});
  return true;
}

bool Courses::remove(std::int64_t roomID) {
  if (database_.run("DELETE FROM courses WHERE roomID = ?", {roomID}) == 0) return false;
  database_.run("DELETE FROM likes WHERE wallID IN (SELECT id FROM messages WHERE roomID = ?)", {roomID});
  for (const char* sql :
       {"DELETE FROM courseTeachers WHERE roomID = ?", "DELETE FROM enrolments WHERE roomID = ?",
        "DELETE FROM follows WHERE roomID = ?", "DELETE FROM messages WHERE roomID = ?",
        "DELETE FROM forbidden WHERE roomID = ?", "DELETE FROM rewards WHERE roomID = ?",
        "DELETE FROM replays WHERE roomID = ?", "DELETE FROM billings WHERE roomID = ?",
        "DELETE FROM vendorLinks WHERE roomID = ?", "DELETE FROM materials WHERE roomID = ?"}) {
    database_.run(sql, {roomID});
  }
  return true;
}

bool Courses::isTeacher(std::int64_t roomID, std::int64_t uID) {
  return database_
      .number(
          "SELECT 1 FROM courses WHERE roomID = ?1 AND uID = ?2"
          " UNION ALL SELECT 1 FROM courseTeachers WHERE roomID = ?1 AND uID = ?2",
          {roomID, uID})
      .has_value();
}

}  // namespace orv::devserver
