#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/data/RecordMapping.h>
#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/session/OrvClassroomInfo.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace orv::orv_classroom_info_test {
namespace {

const std::set<std::string_view> kFlags = {"anybodyCreatable", "demo", "isCorp", "liveEnable", "current"};
const std::set<std::string_view> kIntegers = {"balanceTopup", "expirydate", "expirydateDuration",
                                              "licensenum",   "keltoFlag",  "role"};

/// A value for each key under which a classroom is written, all different.
json::object classroomValues() {
  json::object values;
  std::int64_t number = 100;
  for (const RecordField& field : OrvClassroomInfo::table().fields()) {
    json::value& value = values[field.keys.front()];
    ++number;
    if (kFlags.contains(field.name)) {
      value = true;
    } else if (kIntegers.contains(field.name)) {
      value = number;
    } else {
      value = std::to_string(number);
    }
  }
  return values;
}

TEST(OrvClassroomInfo, StartsWithoutAnything) {
  EXPECT_EQ(
      writeJsonCompact(OrvClassroomInfo().jsonObject()).value(),
      R"({"anybodyCreatable":false,"balanceTopup":0,"demo":false,"expirydate":0,"expirydateDuration":0,"isCorp":false,)"
      R"("licensenum":0,"liveEnable":false,"keltoFlag":0,"current":false,"role":0})");
}

TEST(OrvClassroomInfo, IsWrittenInTheOrderOfItsFieldsUnderTheServersKeys) {
  std::string keys;
  for (const auto& member : makeRecord<OrvClassroomInfo>(classroomValues())->jsonObject()) {
    keys += std::string(member.key()) + " ";
  }
  EXPECT_EQ(
      keys,
      "addtime anybodyCreatable balance balancePreFee balanceTopup bgPicID bgPicUrl corpID costs demo "
      "description "
      "expirydate expirydateDuration followCnt followed headPicID headPicUrl id income isCorp licensenum "
      "liveEnable keltoFlag phone qrPicID remainderDuration remainnum status submitAuditStatus teacherCnt "
      "terchernum title todayDuration todayIncome topup tvSeriesID uID usenum current role ");
}

TEST(OrvClassroomInfo, ComesBackFromItsJsonFormAndItsPropertyList) {
  const auto classroom = makeRecord<OrvClassroomInfo>(classroomValues());
  EXPECT_EQ(classroom->jsonObject(), classroomValues());
  EXPECT_EQ(makeRecord<OrvClassroomInfo>(classroom->jsonObject())->jsonObject(), classroomValues());
  const auto read = readPropertyList(writePropertyList(classroom->jsonObject()).value());
  ASSERT_TRUE(read) << read.error().description;
  EXPECT_EQ(makeRecord<OrvClassroomInfo>(&*read)->jsonObject(), classroomValues());
}

// The JSON form alone would not tell two fields that stand in each other's place.
TEST(OrvClassroomInfo, HasEachValueInTheFieldOfItsName) {
  const auto values = classroomValues();
  const auto classroom = makeRecord<OrvClassroomInfo>(values);
  const auto textOf = [&](const char* key) { return std::string(values.at(key).as_string()); };
  using Text = Property<OptionalString> OrvClassroomInfo::*;
  for (const auto& [key, field] : std::initializer_list<std::pair<const char*, Text>>{
           {"addtime", &OrvClassroomInfo::addtime},
           {"balance", &OrvClassroomInfo::balance},
           {"balancePreFee", &OrvClassroomInfo::balancePreFee},
           {"bgPicID", &OrvClassroomInfo::bgPicID},
           {"bgPicUrl", &OrvClassroomInfo::bgPicUrl},
           {"corpID", &OrvClassroomInfo::corpID},
           {"costs", &OrvClassroomInfo::costs},
           {"description", &OrvClassroomInfo::m_description},
           {"followCnt", &OrvClassroomInfo::followCnt},
           {"followed", &OrvClassroomInfo::followed},
           {"headPicID", &OrvClassroomInfo::headPicID},
           {"headPicUrl", &OrvClassroomInfo::headPicUrl},
           {"id", &OrvClassroomInfo::ID},
           {"income", &OrvClassroomInfo::income},
           {"phone", &OrvClassroomInfo::phone},
           {"qrPicID", &OrvClassroomInfo::qrPicID},
           {"remainderDuration", &OrvClassroomInfo::remainderDuration},
           {"remainnum", &OrvClassroomInfo::remainnum},
           {"status", &OrvClassroomInfo::status},
           {"submitAuditStatus", &OrvClassroomInfo::submitAuditStatus},
           {"teacherCnt", &OrvClassroomInfo::teacherCnt},
           {"terchernum", &OrvClassroomInfo::terchernum},
           {"title", &OrvClassroomInfo::title},
           {"todayDuration", &OrvClassroomInfo::todayDuration},
           {"todayIncome", &OrvClassroomInfo::todayIncome},
           {"topup", &OrvClassroomInfo::topup},
           {"tvSeriesID", &OrvClassroomInfo::tvSeriesID},
           {"uID", &OrvClassroomInfo::uID},
           {"usenum", &OrvClassroomInfo::usenum}}) {
    EXPECT_EQ(((*classroom).*field).get(), textOf(key)) << key;
  }
  EXPECT_EQ(classroom->balanceTopup.get(), values.at("balanceTopup").as_int64());
  EXPECT_EQ(classroom->expirydate.get(), values.at("expirydate").as_int64());
  EXPECT_EQ(classroom->expirydateDuration.get(), values.at("expirydateDuration").as_int64());
  EXPECT_EQ(classroom->licensenum.get(), values.at("licensenum").as_int64());
  EXPECT_EQ(classroom->keltoFlag.get(), values.at("keltoFlag").as_int64());
  EXPECT_EQ(classroom->role.get(), values.at("role").as_int64());
}

TEST(OrvClassroomInfo, HasEachFlagInTheFieldOfItsName) {
  for (const std::string_view key : kFlags) {
    json::object values;
    values[key] = true;
    const auto classroom = makeRecord<OrvClassroomInfo>(values);
    EXPECT_EQ(classroom->anybodyCreatable.get(), key == "anybodyCreatable") << key;
    EXPECT_EQ(classroom->demo.get(), key == "demo") << key;
    EXPECT_EQ(classroom->isCorp.get(), key == "isCorp") << key;
    EXPECT_EQ(classroom->liveEnable.get(), key == "liveEnable") << key;
    EXPECT_EQ(classroom->current.get(), key == "current") << key;
  }
}

TEST(OrvClassroomInfo, TakesItsIdentifierFromIdBeforeID) {
  const auto idOf = [](const json::object& values) { return makeRecord<OrvClassroomInfo>(values)->ID.get(); };
  EXPECT_EQ(idOf({{"id", "1"}, {"ID", "2"}}), "1");
  EXPECT_EQ(idOf({{"ID", "2"}, {"id", "1"}}), "1");
  EXPECT_EQ(idOf({{"ID", "2"}}), "2");
  EXPECT_EQ(idOf({{"ID", "2"}, {"id", nullptr}}), std::nullopt);
  EXPECT_EQ(idOf({{"ID", 3001}}), "3001");
  EXPECT_EQ(makeRecord<OrvClassroomInfo>(json::object{{"ID", "2"}})->jsonObject().at("id"), "2");
  EXPECT_FALSE(makeRecord<OrvClassroomInfo>(json::object{{"ID", "2"}})->jsonObject().contains("ID"));
}

TEST(OrvClassroomInfo, KeepsTheServersDescriptionApartFromItsTextForm) {
  const auto classroom =
      makeRecord<OrvClassroomInfo>(json::object{{"description", "Numbers"}, {"m_description", "ignored"}});
  EXPECT_EQ(classroom->m_description.get(), "Numbers");
  EXPECT_EQ(classroom->jsonObject().at("description"), "Numbers");
  EXPECT_FALSE(classroom->jsonObject().contains("m_description"));
  EXPECT_EQ(classroom->description(), describe(classroom->jsonObject()));
  EXPECT_EQ(makeRecord<OrvClassroomInfo>(json::object{{"m_description", "x"}})->m_description.get(),
            std::nullopt);
}

TEST(OrvClassroomInfo, ReadsTheKeyThatTheServerMisspells) {
  const auto classroom = makeRecord<OrvClassroomInfo>(json::object{{"terchernum", 5}, {"teachernum", 6}});
  EXPECT_EQ(classroom->terchernum.get(), "5");
}

TEST(OrvClassroomInfo, HoldsItsPartnerFlagIn32Bits) {
  const auto classroom = makeRecord<OrvClassroomInfo>(json::object{{"keltoFlag", 5000000000}});
  EXPECT_EQ(classroom->keltoFlag.get(), 705032704);
  EXPECT_EQ(classroom->jsonObject().at("keltoFlag"), 705032704);
}

TEST(OrvClassroomInfo, HasFlagsThatAreTrueForAnythingButZero) {
  for (const std::string_view key : kFlags) {
    const auto flagFrom = [&](const json::value& value) {
      json::object values;
      values[key] = value;
      return makeRecord<OrvClassroomInfo>(values)->jsonObject().at(key);
    };
    EXPECT_EQ(flagFrom(256), true) << key;
    EXPECT_EQ(flagFrom(0.5), true) << key;
    EXPECT_EQ(flagFrom("YES"), true) << key;
    EXPECT_EQ(flagFrom("0"), false) << key;
    EXPECT_EQ(flagFrom(nullptr), false) << key;
  }
}

TEST(OrvClassroomInfo, IsForbiddenToNobody) {
  EXPECT_FALSE(OrvClassroomInfo().isForbidden());
  EXPECT_FALSE(makeRecord<OrvClassroomInfo>(classroomValues())->isForbidden());
}

TEST(OrvClassroomInfo, IsEqualToNothingButItself) {
  const auto one = makeRecord<OrvClassroomInfo>(classroomValues());
  const auto other = makeRecord<OrvClassroomInfo>(classroomValues());
  EXPECT_TRUE(one->isEqual(one.get()));
  EXPECT_FALSE(one->isEqual(other.get()));
  EXPECT_FALSE(one->isEqual(nullptr));
  EXPECT_NE(one->hash(), other->hash());
  const std::size_t hash = one->hash();
  one->title = "other";
  EXPECT_EQ(one->hash(), hash);
}

TEST(OrvClassroomInfo, IsNotArchived) {
  EXPECT_FALSE(OrvClassroomInfo().isArchivable());
}

}  // namespace
}  // namespace orv::orv_classroom_info_test
