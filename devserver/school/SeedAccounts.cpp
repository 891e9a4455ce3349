#include "devserver/school/School.h"

#include <boost/json/parse.hpp>

#include <string>
#include <string_view>

namespace orv::devserver {

namespace {

struct SeededAccount {
  const char* phone;
  const char* nick;
  bool teacher;
  int gender;
  const char* city;
};

constexpr SeededAccount kAccounts[] = {
    {"13800000001", "林老师", true, 2, "杭州"}, {"13800000002", "周老师", true, 1, "宁波"},
    {"13800000003", "沈老师", true, 2, "温州"}, {"13900000001", "小明", false, 1, "杭州"},
    {"13900000002", "小红", false, 2, "杭州"},  {"13900000003", "小刚", false, 1, "绍兴"},
    {"13900000004", "小雨", false, 2, "嘉兴"},  {"13900000005", "小雪", false, 2, "湖州"},
};

struct SeededClassroom {
  const char* ownersPhone;
  const char* title;
  const char* description;
};

constexpr SeededClassroom kClassrooms[] = {
    {"13800000001", "林老师的数学课堂", "把难题讲成故事，把公式画成图。"},
    {"13800000002", "周老师的物理课堂", "动手做一遍，道理就明白了。"},
    {"13800000003", "沈老师的绘画课堂", "从一条线开始，画出自己的世界。"},
};

struct SeededVoice {
  int id;
  int parent;
  const char* name;
  const char* nameEn;
  int speed;
  int pitch;
};

constexpr SeededVoice kVoices[] = {
    {1, 0, "课堂朗读", "Reading aloud", 50, 50}, {2, 0, "故事旁白", "Story telling", 45, 55},
    {3, 0, "提示音", "Prompts", 60, 50},         {11, 1, "女声", "Female voice", 50, 60},
    {12, 1, "男声", "Male voice", 50, 40},       {21, 2, "童声", "Child's voice", 48, 70},
};

}  // namespace

json::object usualProfile(std::string_view nick) {
  static const json::object usual = json::parse(R"json({
    "videoID":"0","white":0,"userpic":"","province":"","corpType":0,"pictureID":"0","corpID":0,
    "followCnt":"0","city":"","bio":"","fansCnt":"0","onlineID":"0","tvEnable":0,"mcoin":"0","coverID":"0",
    "gender":0,"nick":"","role":0,"subscriptionFlag":0,"lastNotiUID":"0","notifyCnt":"0","teacher":0})json")
                                        .as_object();
  json::object profile = usual;
  profile["nick"] = nick;
  return profile;
}

void seedAccounts(School& school) {
  const std::string digest = md5Hex(School::kPassword);
  for (const SeededAccount& seeded : kAccounts) {
    Account account;
    account.phone = seeded.phone;
    account.passwordDigest = digest;
    account.profile = usualProfile(seeded.nick);
    account.profile["gender"] = seeded.gender;
    account.profile["role"] = account.profile["teacher"] = seeded.teacher ? 1 : 0;
    account.profile["province"] = "浙江";
    account.profile["city"] = seeded.city;
    account.profile["fansCnt"] = seeded.teacher ? "5" : "0";
    account.profile["followCnt"] = seeded.teacher ? "0" : "3";
    school.accounts().enrol(std::move(account));
  }
}

void seedClassrooms(School& school) {
  for (const SeededClassroom& seeded : kClassrooms) {
    auto owner = school.accounts().findByPhone(seeded.ownersPhone);
    if (!owner) continue;
    const json::object fields{{"title", seeded.title},
                              {"description", seeded.description},
                              {"phone", seeded.ownersPhone},
                              {"followCnt", "5"}};
    const std::int64_t id = school.classrooms().add(owner->id(), fields);
    owner->profile["classroom"] = std::to_string(id);
    school.accounts().save(*owner);
  }
  // Teachers also help in the next one's classroom.
  school.classrooms().addMember(5001, 100'002, member_role::kTeacher);
  for (const char* name : {"蓝鲸直播", "海星视频", "云雀电台"}) {
    school.database().run("INSERT INTO vendors(name) VALUES(?)", {name});
  }
  for (const SeededVoice& voice : kVoices) {
    const json::object doc{{"name", voice.name},
                           {"nameEn", voice.nameEn},
                           {"params", {{"speed", voice.speed}, {"pitch", voice.pitch}, {"volume", 80}}}};
    school.database().run("INSERT INTO voiceCategories(id, parent, doc) VALUES(?, ?, ?)",
                          {voice.id, voice.parent, doc});
  }
}

}  // namespace orv::devserver
