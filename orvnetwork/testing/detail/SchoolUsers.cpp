#include "orvnetwork/testing/detail/SchoolUsers.h"

#include <orvnetwork/platform/Md5.h>
#include <orvnetwork/testing/SchoolRules.h>
#include <orvnetwork/testing/detail/SchoolValues.h>

#include <boost/json/parse.hpp>

#include <functional>
#include <utility>

namespace orv::testing {

namespace {

constexpr std::int64_t kFirstUser = 11;

const json::object& usualUser() {
  static const auto& usual = *new json::object(json::parse(R"json({
    "videoID":"0","white":0,"userpic":"","province":"","corpType":0,"pictureID":"0","corpID":0,"followCnt":"0",
    "city":"","bio":"","fansCnt":"0","onlineID":"0","tvEnable":0,"mcoin":"0","coverID":"0","gender":0,"nick":"",
    "role":1,"subscriptionFlag":0,"lastNotiUID":"0","notifyCnt":"0","teacher":1})json")
                                                   .as_object());
  return usual;
}

const json::object& usualClassroom() {
  static const auto& usual = *new json::object(json::parse(R"json({
    "addtime":"","anybodyCreatable":false,"balance":"0","balancePreFee":"0","balanceTopup":0,"bgPicID":"",
    "bgPicUrl":"","corpID":"0","costs":"0","demo":false,"description":"","expirydate":0,
    "expirydateDuration":31536000,"followCnt":"0","followed":"0","headPicID":"","headPicUrl":"","income":"0",
    "isCorp":false,"licensenum":10,"liveEnable":true,"keltoFlag":0,"phone":"","qrPicID":"",
    "remainderDuration":"360000","remainnum":"9","status":"1","submitAuditStatus":"0","teacherCnt":"1",
    "terchernum":"1","title":"Classroom","todayDuration":"0","todayIncome":"0","topup":"0","tvSeriesID":"0",
    "uID":"","usenum":"1"})json")
                                                   .as_object());
  return usual;
}

std::int64_t numberOf(std::string_view uID) {
  return schoolNumber(json::string(uID)).value_or(0);
}

}  // namespace

SchoolUsers::SchoolUsers() {
  changeClassroom(SchoolRules::kClassroom, {});
}

std::string SchoolUsers::add(std::string mobile, const std::string& password, const json::object& fields) {
  const std::int64_t number = users_.empty() ? kFirstUser : users_.rbegin()->first + 1;
  User& user = users_[number];
  user.uID = std::to_string(number);
  user.mobile = std::move(mobile);
  user.passwordDigest = md5Hex(password);
  user.members = usualUser();
  user.members["classroom"] = json::string(SchoolRules::kClassroom);
  mergeFields(user.members, fields);
  return user.uID;
}

SchoolUsers::User* SchoolUsers::find(std::string_view uID) {
  const auto found = users_.find(numberOf(uID));
  return found == users_.end() ? nullptr : &found->second;
}

const SchoolUsers::User* SchoolUsers::find(std::string_view uID) const {
  const auto found = users_.find(numberOf(uID));
  return found == users_.end() ? nullptr : &found->second;
}

SchoolUsers::User* SchoolUsers::findByMobile(std::string_view mobile) {
  for (auto& [number, user] : users_) {
    if (user.mobile == mobile) return &user;
  }
  return nullptr;
}

SchoolUsers::User* SchoolUsers::findByToken(std::string_view token) {
  const auto found = tokens_.find(token);
  return found == tokens_.end() ? nullptr : find(found->second);
}

std::string SchoolUsers::issueToken(const User& user) {
  std::string token = "token-" + user.uID + "-" + std::to_string(++lastToken_);
  tokens_.emplace(token, user.uID);
  return token;
}

void SchoolUsers::dropToken(std::string_view token) {
  if (const auto found = tokens_.find(token); found != tokens_.end()) tokens_.erase(found);
}

void SchoolUsers::dropTokens(std::string_view uID, std::string_view kept) {
  std::erase_if(tokens_, [&](const auto& token) { return token.second == uID && token.first != kept; });
}

void SchoolUsers::changeClassroom(std::string_view id, const json::object& fields) {
  const auto [place, isNew] = classrooms_.try_emplace(std::string(id), usualClassroom());
  mergeFields(place->second, fields);
}

std::optional<json::object> SchoolUsers::classroom(std::string_view id, const User* seenBy) const {
  const auto found = classrooms_.find(id);
  if (found == classrooms_.end()) return std::nullopt;
  json::object room{{"id", json::string(id)}};
  mergeFields(room, found->second);
  room["current"] = seenBy != nullptr && textIn(seenBy->members, "classroom") == id;
  room.emplace("role", 1);
  return room;
}

json::object SchoolUsers::describe(const User& user) const {
  json::object data{{"uID", user.uID}, {"phone", user.mobile}};
  mergeFields(data, user.members);
  if (const auto room = classroom(textIn(user.members, "classroom"), &user)) data["classroominfo"] = *room;
  data["otherDeviceLogin"] =
      json::object{{"isLogin", user.isElsewhere}, {"liveStatus", user.isLiveElsewhere}};
  return data;
}

}  // namespace orv::testing
