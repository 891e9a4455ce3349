#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/data/RecordMapping.h>
#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/session/OrvUserInfoModel.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace orv::orv_user_info_model_test {
namespace {

/// What the server sends of a user, save the classroom, which is equal to nothing but itself.
json::object userValues() {
  return {{"videoID", "9001"},
          {"white", 1},
          {"userpic", "https://pictures.example.com/10086.png"},
          {"province", "Zhejiang"},
          {"classroom", "3001"},
          {"corpType", 2},
          {"pictureID", "55012"},
          {"corpID", 88},
          {"followCnt", "12"},
          {"uID", "10086"},
          {"city", "Hangzhou"},
          {"bio", "Teaches mathematics."},
          {"fansCnt", "345"},
          {"onlineID", "o-1"},
          {"tvEnable", 1},
          {"mcoin", "18500"},
          {"coverID", "55013"},
          {"gender", 2},
          {"token", "d41d8cd98f00b204e9800998ecf8427e"},
          {"nick", "Teacher Lin"},
          {"phone", "13800138000"},
          {"role", 3},
          {"subscriptionFlag", 1},
          {"lastNotiUID", "n-77"},
          {"notifyCnt", "4"},
          {"otherDeviceLogin", {{"isLogin", true}, {"liveStatus", false}}},
          {"teacher", 1}};
}

json::object userValuesWithClassroom() {
  json::object values = userValues();
  values["classroominfo"] = {{"id", "3001"}, {"title", "Lin's classroom"}, {"description", "Numbers"}};
  return values;
}

std::string keysOf(const json::object& values) {
  std::string keys;
  for (const auto& member : values) keys += std::string(member.key()) + " ";
  return keys;
}

TEST(OrvUserInfoModel, StartsWithoutAnything) {
  EXPECT_EQ(
      writeJsonCompact(OrvUserInfoModel().jsonObject()).value(),
      R"({"white":0,"corpType":0,"corpID":0,"tvEnable":0,"gender":0,"role":0,"subscriptionFlag":0,"teacher":0})");
}

TEST(OrvUserInfoModel, IsFilledFromTheKeysThatAreItsFieldsNames) {
  const auto user = makeRecord<OrvUserInfoModel>(userValuesWithClassroom());
  EXPECT_EQ(user->videoID.get(), "9001");
  EXPECT_EQ(user->white.get(), 1);
  EXPECT_EQ(user->userpic.get(), "https://pictures.example.com/10086.png");
  EXPECT_EQ(user->province.get(), "Zhejiang");
  EXPECT_EQ(user->classroom.get(), "3001");
  EXPECT_EQ(user->corpType.get(), 2);
  EXPECT_EQ(user->pictureID.get(), "55012");
  EXPECT_EQ(user->corpID.get(), 88);
  EXPECT_EQ(user->followCnt.get(), "12");
  EXPECT_EQ(user->uID.get(), "10086");
  EXPECT_EQ(user->city.get(), "Hangzhou");
  EXPECT_EQ(user->bio.get(), "Teaches mathematics.");
  EXPECT_EQ(user->fansCnt.get(), "345");
  EXPECT_EQ(user->onlineID.get(), "o-1");
  EXPECT_EQ(user->tvEnable.get(), 1);
  EXPECT_EQ(user->mcoin.get(), "18500");
  EXPECT_EQ(user->coverID.get(), "55013");
  EXPECT_EQ(user->gender.get(), 2u);
  EXPECT_EQ(user->token.get(), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(user->nick.get(), "Teacher Lin");
  EXPECT_EQ(user->phone.get(), "13800138000");
  ASSERT_NE(user->classroominfo.get(), nullptr);
  EXPECT_EQ(user->classroominfo.get()->ID.get(), "3001");
  EXPECT_EQ(user->role.get(), 3);
  EXPECT_EQ(user->subscriptionFlag.get(), 1);
  EXPECT_EQ(user->lastNotiUID.get(), "n-77");
  EXPECT_EQ(user->notifyCnt.get(), "4");
  ASSERT_NE(user->otherDeviceLogin.get(), nullptr);
  EXPECT_TRUE(user->otherDeviceLogin.get()->isLogin);
  EXPECT_EQ(user->teacher.get(), 1);
}

TEST(OrvUserInfoModel, WritesItsFieldsInTheirOrder) {
  EXPECT_EQ(
      keysOf(makeRecord<OrvUserInfoModel>(userValuesWithClassroom())->jsonObject()),
      "videoID white userpic province classroom corpType pictureID corpID followCnt uID city bio fansCnt "
      "onlineID tvEnable mcoin coverID gender token nick phone classroominfo role subscriptionFlag "
      "lastNotiUID notifyCnt otherDeviceLogin teacher ");
}

TEST(OrvUserInfoModel, KeepsCountersAsTexts) {
  const auto user = makeRecord<OrvUserInfoModel>(
      json::object{{"followCnt", 12}, {"fansCnt", 0}, {"mcoin", 9.9}, {"notifyCnt", true}, {"uID", 10086}});
  EXPECT_EQ(user->followCnt.get(), "12");
  EXPECT_EQ(user->fansCnt.get(), "0");
  EXPECT_EQ(user->mcoin.get(), "9.9");
  EXPECT_EQ(user->notifyCnt.get(), "1");
  EXPECT_EQ(user->uID.get(), "10086");
  EXPECT_EQ(user->jsonObject().at("followCnt"), "12");
}

TEST(OrvUserInfoModel, TakesNumbersThatComeAsTexts) {
  const auto user = makeRecord<OrvUserInfoModel>(json::object{
      {"white", "1"}, {"role", "3abc"}, {"gender", "-1"}, {"corpID", "null"}, {"teacher", "yes"}});
  EXPECT_EQ(user->white.get(), 1);
  EXPECT_EQ(user->role.get(), 3);
  EXPECT_EQ(user->gender.get(), UINT64_MAX);
  EXPECT_EQ(user->corpID.get(), 0);
  EXPECT_EQ(user->teacher.get(), 1);
}

TEST(OrvUserInfoModel, MergesAReplyIntoWhatIsThere) {
  const auto user = makeRecord<OrvUserInfoModel>(userValuesWithClassroom());
  const auto classroom = user->classroominfo.get();
  const auto device = user->otherDeviceLogin.get();
  user->merge(json::object{{"nick", "Lin"},
                           {"bio", nullptr},
                           {"classroominfo", {{"title", "New title"}}},
                           {"otherDeviceLogin", {{"liveStatus", 1}}}});
  EXPECT_EQ(user->nick.get(), "Lin");
  EXPECT_EQ(user->bio.get(), std::nullopt);
  EXPECT_EQ(user->token.get(), userValues().at("token").as_string().c_str());
  EXPECT_EQ(user->classroominfo.get(), classroom);
  EXPECT_EQ(classroom->title.get(), "New title");
  EXPECT_EQ(classroom->ID.get(), "3001");
  EXPECT_EQ(user->otherDeviceLogin.get(), device);
  EXPECT_TRUE(device->isLogin);
  EXPECT_TRUE(device->liveStatus);
}

TEST(OrvUserInfoModel, IsEqualToAUserOfTheSameValues) {
  const auto one = makeRecord<OrvUserInfoModel>(userValues());
  const auto other = makeRecord<OrvUserInfoModel>(userValues());
  EXPECT_TRUE(one->isEqual(one.get()));
  EXPECT_TRUE(one->isEqual(other.get()));
  EXPECT_EQ(one->hash(), other->hash());
  EXPECT_FALSE(one->isEqual(nullptr));
  EXPECT_FALSE(one->isEqual(one->otherDeviceLogin.get().get()));
}

TEST(OrvUserInfoModel, IsNotEqualWhenAnyFieldDiffers) {
  const auto one = makeRecord<OrvUserInfoModel>(userValues());
  std::size_t changed = 0;
  for (const RecordField& field : OrvUserInfoModel::table().fields()) {
    const auto other = makeRecord<OrvUserInfoModel>(userValues());
    json::object change;
    change[field.keys.front()] = field.name == "otherDeviceLogin" ? json::value{{"liveStatus", true}}
                                 : field.name == "classroominfo"  ? json::value{{"id", "1"}}
                                                                  : json::value(987);
    other->merge(change);
    EXPECT_FALSE(one->isEqual(other.get())) << field.name;
    EXPECT_FALSE(other->isEqual(one.get())) << field.name;
    EXPECT_NE(one->hash(), other->hash()) << field.name;
    ++changed;
  }
  EXPECT_EQ(changed, 28u);
}

TEST(OrvUserInfoModel, IsNotEqualWhenAnyFieldIsMissing) {
  const auto one = makeRecord<OrvUserInfoModel>(userValues());
  for (const auto& member : userValues()) {
    json::object values = userValues();
    values.erase(member.key());
    EXPECT_FALSE(one->isEqual(makeRecord<OrvUserInfoModel>(values).get())) << member.key();
  }
}

TEST(OrvUserInfoModel, IsNotEqualWhenEachHasAClassroomOfItsOwn) {
  const auto one = makeRecord<OrvUserInfoModel>(userValuesWithClassroom());
  const auto other = makeRecord<OrvUserInfoModel>(userValuesWithClassroom());
  EXPECT_FALSE(one->isEqual(other.get()));
  EXPECT_NE(one->hash(), other->hash());
  other->classroominfo = one->classroominfo;
  EXPECT_TRUE(one->isEqual(other.get()));
  EXPECT_EQ(one->hash(), other->hash());
}

TEST(OrvUserInfoModel, SharesNestedRecordsWithItsCopy) {
  const auto user = makeRecord<OrvUserInfoModel>(userValuesWithClassroom());
  const auto copy = user->copyWithZone();
  EXPECT_NE(copy, user);
  EXPECT_EQ(copy->jsonObject(), user->jsonObject());
  EXPECT_TRUE(copy->isEqual(user.get()));
  EXPECT_EQ(copy->classroominfo.get(), user->classroominfo.get());
  EXPECT_EQ(copy->otherDeviceLogin.get(), user->otherDeviceLogin.get());
  user->nick = "Lin";
  EXPECT_EQ(copy->nick.get(), "Teacher Lin");
}

TEST(OrvUserInfoModel, IsArchivedWithoutItsClassroom) {
  const auto user = makeRecord<OrvUserInfoModel>(userValuesWithClassroom());
  KeyedArchive archive;
  user->encodeWithCoder(archive);
  EXPECT_EQ(archive.values(), userValues());
  const auto restored = OrvUserInfoModel::initWithCoder(archive);
  EXPECT_EQ(restored->classroominfo.get(), nullptr);
  EXPECT_EQ(restored->jsonObject(), userValues());
  user->classroominfo = nullptr;
  EXPECT_TRUE(restored->isEqual(user.get()));
}

TEST(OrvUserInfoModel, KeepsBothNestedRecordsInItsJsonForm) {
  const auto user = makeRecord<OrvUserInfoModel>(userValuesWithClassroom());
  const auto back = makeRecord<OrvUserInfoModel>(user->jsonObject());
  EXPECT_EQ(back->jsonObject(), user->jsonObject());
  EXPECT_EQ(back->classroominfo.get()->m_description.get(), "Numbers");
  EXPECT_TRUE(back->otherDeviceLogin.get()->isEqual(user->otherDeviceLogin.get().get()));
}

TEST(OrvUserInfoModel, ComesBackFromAPropertyListOfItsJsonForm) {
  const auto user = makeRecord<OrvUserInfoModel>(userValuesWithClassroom());
  user->gender = UINT64_MAX;
  user->corpID = INT64_MIN;
  user->bio = "<&> \"quoted\"\nand \u4F60\u597D";
  const auto written = writePropertyList(user->jsonObject());
  ASSERT_TRUE(written) << written.error().description;
  const auto read = readPropertyList(*written);
  ASSERT_TRUE(read) << read.error().description;
  const auto back = makeRecord<OrvUserInfoModel>(&*read);
  EXPECT_EQ(back->jsonObject(), user->jsonObject());
}

TEST(OrvUserInfoModel, HasTheTextFormOfItsJsonForm) {
  const auto user = makeRecord<OrvUserInfoModel>(json::object{{"nick", "Lin"}, {"role", 3}});
  EXPECT_EQ(formatText("%@", user),
            "{\n    corpID = 0;\n    corpType = 0;\n    gender = 0;\n    nick = Lin;\n    role = 3;\n"
            "    subscriptionFlag = 0;\n    teacher = 0;\n    tvEnable = 0;\n    white = 0;\n}");
}

}  // namespace
}  // namespace orv::orv_user_info_model_test
