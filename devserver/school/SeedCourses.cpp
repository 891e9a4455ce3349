#include "devserver/school/Database.h"
#include "devserver/school/School.h"

#include <array>
#include <string>

namespace orv::devserver {

namespace {

constexpr std::int64_t kHour = 3'600;
constexpr std::int64_t kDay = 24 * kHour;

constexpr std::array kTopics = {"分数的初步认识", "小数与四则运算", "长方形的面积",   "圆的周长与面积",
                                "百分数的应用",   "比例与比例尺",   "一元一次方程",   "平面直角坐标系",
                                "三角形的全等",   "勾股定理",       "一次函数的图象", "二次根式"};
constexpr std::array kKinds = {"基础精讲", "例题串讲", "易错题分析", "单元复习"};

/// What the courses of one classroom have in common.
struct Teaching {
  School& school;
  Account owner;
  std::int64_t classroomID;
  std::int64_t now;

  json::object course(const std::string& title, std::int64_t liveType, std::int64_t status) const {
    json::object fields;
    fields["title"] = title;
    fields["uID"] = owner.id();
    fields["nick"] = owner.nick();
    fields["teacher"] = owner.nick();
    fields["teacherIntro"] = owner.nick() + "，从教十二年。";
    fields["intro"] = "本课讲解“" + title + "”，配有课堂练习。";
    fields["classroomID"] = classroomID;
    fields["liveType"] = liveType;
    fields["status"] = status;
    return fields;
  }
  std::int64_t add(const json::object& fields) const { return school.courses().add(fields); }
};

void addRecorded(const Teaching& teaching, int count) {
  for (int i = 0; i < count; ++i) {
    const auto index = static_cast<std::size_t>(i);
    const std::string title =
        std::string(kTopics[index % kTopics.size()]) + " · " + kKinds[index / kTopics.size() % kKinds.size()];
    json::object fields = teaching.course(title, live_type::kRecorded, course_status::kRecorded);
    const std::int64_t added = teaching.now - (count - i) * kDay;
    fields["addtime"] = fields["updatetime"] = fields["startTime"] = added;
    fields["duration"] = 600.0 + 37.5 * i;
    fields["viewCnt"] = 12 + 7 * (i % 11);
    fields["whiteboardDataID"] = 880'000 + i;
    if (i % 5 == 0) fields["courseType"] = 2;
    if (i % 5 == 0) fields["coursePrice"] = 9.9 + i;
    if (i % 17 == 16) fields["publishStatus"] = publish_status::kConverting;
    teaching.add(fields);
  }
}

/// Recorded courses that are listed and that a client is to pass over, and drafts.
void addUnfinished(const Teaching& teaching) {
  json::object withdrawn = teaching.course("已下架的公开课", live_type::kRecorded, course_status::kWithdrawn);
  teaching.add(withdrawn);
  for (const char* title : {"概率初步 · 基础精讲", "统计图表 · 基础精讲"}) {
    json::object uploading = teaching.course(title, live_type::kRecorded, course_status::kRecorded);
    uploading["publishStatus"] = publish_status::kUploading;
    teaching.add(uploading);
  }
  for (const char* title : {"草稿：因式分解", "草稿：相似三角形", "草稿：期末复习"}) {
    json::object draft = teaching.course(title, live_type::kRecorded, course_status::kRecorded);
    draft["draft"] = true;
    draft["publishStatus"] = 0;
    teaching.add(draft);
  }
}

void addComing(const Teaching& teaching, bool whole) {
  const std::array titles = {"周末直播：方程应用题", "直播答疑：作业讲评", "专题直播：几何辅助线",
                             "公开课：数学与生活",   "直播小班：函数入门", "期中冲刺直播"};
  const std::size_t count = whole ? titles.size() : 2;
  for (std::size_t i = 0; i < count; ++i) {
    const auto step = static_cast<std::int64_t>(i);
    json::object fields = teaching.course(
        titles[i], i % 3 == 2 ? live_type::kLiveWithVideo : live_type::kLive, course_status::kComing);
    const bool timed = i != 4;  // one is announced without a time
    fields["startTimeEnable"] = timed ? 1 : 0;
    fields["startTime"] = timed ? teaching.now + (step + 1) * kDay + step * kHour : 0;
    fields["courseType"] = i % 2 == 1 ? 2 : 1;
    if (i % 2 == 1) fields["coursePrice"] = 19.9 + static_cast<double>(i);
    fields["enrollTableEnable"] = 1;
    fields["publishStatus"] = 0;
    teaching.add(fields);
  }
}

void addOnAir(const Teaching& teaching, bool whole) {
  const std::array titles = {"正在直播：二次函数的图象", "正在直播：晚自习答疑"};
  for (std::size_t i = 0; i < (whole ? titles.size() : 1); ++i) {
    const auto begun = teaching.now - static_cast<std::int64_t>(i + 1) * 900;
    json::object fields = teaching.course(titles[i], i == 0 ? live_type::kLive : live_type::kLiveWithVideo,
                                          course_status::kOnAir);
    fields["startTimeEnable"] = 1;
    fields["startTime"] = begun;
    fields["liveStatus"] = live_status::kOnAir;
    fields["liveStartTime"] = begun;
    fields["viewCnt"] = 34 + static_cast<int>(i);
    teaching.add(fields);
  }
}

void addOver(const Teaching& teaching, int count) {
  for (int i = 0; i < count; ++i) {
    const std::string title =
        "往期直播：" + std::string(kTopics[static_cast<std::size_t>(i) % kTopics.size()]);
    json::object fields = teaching.course(title, i % 3 == 2 ? live_type::kLiveWithVideo : live_type::kLive,
                                          course_status::kOver);
    const std::int64_t begun = teaching.now - (i + 1) * 2 * kDay;
    fields["startTimeEnable"] = 1;
    fields["startTime"] = fields["addtime"] = begun;
    fields["liveStatus"] = live_status::kOver;
    fields["liveStartTime"] = begun;
    fields["liveTime"] = fields["liveDuration"] = 2'700 + 60 * i;
    fields["viewCnt"] = 50 + 9 * i;
    const std::int64_t room = teaching.add(fields);
    const json::object replay{
        {"title", title}, {"duration", 2'700 + 60 * i}, {"addtime", begun}, {"viewCnt", 9 * i}};
    teaching.school.database().run("INSERT INTO replays(roomID, uID, doc) VALUES(?, ?, ?)",
                                   {room, teaching.owner.id(), replay});
  }
}

void addTests(const Teaching& teaching) {
  for (const std::int64_t status : {course_status::kComing, course_status::kOver}) {
    json::object fields = teaching.course("设备调试（测试课）", live_type::kLive, status);
    fields["test"] = true;
    fields["startTimeEnable"] = 1;
    fields["startTime"] = teaching.now + (status == course_status::kComing ? kHour : -kHour);
    if (status == course_status::kOver) fields["liveStatus"] = live_status::kOver;
    teaching.add(fields);
  }
}

/// What viewers left behind in the courses of a classroom.
void addTraces(School& school, std::int64_t classroomID, std::int64_t now) {
  Database& data = school.database();
  const Database::Values place{classroomID, now};
  for (const std::int64_t student : {100'004, 100'005, 100'006}) {
    data.run(
        "INSERT INTO enrolments(roomID, uID, addtime, price) SELECT roomID, ?3, ?2 - 86400, 0 FROM courses"
        " WHERE classroomID = ?1 AND liveType <> 2 AND roomID % 3 <> ?3 % 2",
        {classroomID, now, student});
  }
  data.run(
      "UPDATE courses SET doc = json_set(doc, '$.enrolmentCnt', (SELECT count(*) FROM enrolments"
      " WHERE enrolments.roomID = courses.roomID)) WHERE classroomID = ?1 AND liveType <> 2",
      {classroomID});
  data.run(
      "INSERT INTO messages(roomID, uID, commentID, doc) SELECT roomID, 100004, NULL,"
      " json_object('content', '老师讲得真清楚！', 'addtime', ?2 - 3600) FROM courses"
      " WHERE classroomID = ?1 AND status IN (2, 3)",
      place);
  data.run(
      "INSERT INTO rewards(roomID, uID, amount, addtime) SELECT roomID, 100005, 6.6, ?2 - 7200 FROM courses"
      " WHERE classroomID = ?1 AND status = 3",
      place);
}

}  // namespace

void seedCourses(School& school) {
  const std::int64_t now = secondsNow();
  for (const char* phone : {"13800000001", "13800000002", "13800000003"}) {
    auto owner = school.accounts().findByPhone(phone);
    if (!owner || owner->classroom() == 0) continue;
    const bool whole = owner->classroom() == 5001;
    const Teaching teaching{school, *owner, owner->classroom(), now};
    addRecorded(teaching, whole ? 48 : 5);
    if (whole) addUnfinished(teaching);
    addComing(teaching, whole);
    addOnAir(teaching, whole);
    addOver(teaching, whole ? 8 : 2);
    if (whole) addTests(teaching);
    addTraces(school, teaching.classroomID, now);
  }
}

}  // namespace orv::devserver
