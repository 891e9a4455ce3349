#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/data/RecordMapping.h>
#include <orvnetwork/data/TextFormat.h>

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace orv::orv_course_model_test {
namespace {

constexpr std::string_view kFieldNames =
    "orv_local orv_intro orv_createInfo orv_cloudRoomID orv_vectorDuration videoType seriesType status title "
    "coverUrl "
    "flvUrl rtmpUrl hlsUrl viewCnt duration rolename updatetime whiteboardDataID uID cover startTimeEnable "
    "courseType "
    "pptStatus addtime roomID tvSeries liveType classroomID role income startTime enrolmentCnt coursePrice "
    "publishStatus videoUrl videoStatus host liveStatus publishUrl teacher teacherIntro intro liveCommand "
    "nick userpic "
    "livePauseRemainingTime liveStartTime liveTime test liveDuration shareUrl kelto_open ";

const std::set<std::string_view> kTexts = {
    "orv_intro", "title", "coverUrl",   "flvUrl",  "rtmpUrl",      "hlsUrl", "rolename", "videoUrl",
    "host",      "nick",  "publishUrl", "teacher", "teacherIntro", "intro",  "userpic",  "shareUrl",
};
const std::set<std::string_view> kFlags = {"orv_local", "test", "kelto_open"};
const std::set<std::string_view> kReals = {"orv_vectorDuration", "duration", "livePauseRemainingTime",
                                           "liveStartTime",      "liveTime", "liveDuration"};
const std::set<std::string_view> kNaturals = {"videoType",     "status",      "courseType", "liveType",
                                              "publishStatus", "videoStatus", "liveStatus", "liveCommand"};

/// A value for every field, all different, of a course whose duration is the stored one.
json::object courseValues() {
  json::object values;
  std::int64_t number = 100;
  for (const RecordField& field : OrvCourseModel::table().fields()) {
    json::value& value = values[field.name];
    ++number;
    if (kTexts.contains(field.name)) {
      value = "text " + std::to_string(number);
    } else if (kFlags.contains(field.name)) {
      value = true;
    } else if (kReals.contains(field.name)) {
      value = static_cast<double>(number) + 0.25;
    } else if (field.name == "coursePrice") {
      value = 9.5;
    } else if (field.name == "orv_createInfo") {
      value = json::object{{"title", "x"}, {"price", 9.9}};
    } else {
      value = number;
    }
  }
  return values;
}

std::shared_ptr<OrvCourseModel> course(const json::object& values) {
  return makeRecord<OrvCourseModel>(values);
}

TEST(OrvCourseModel, HasItsFieldsInOrderUnderTheirOwnNames) {
  std::string names;
  for (const RecordField& field : OrvCourseModel::table().fields()) {
    names += std::string(field.name) + " ";
    ASSERT_EQ(field.keys.size(), 1u);
    EXPECT_EQ(field.keys.front(), field.name);
  }
  EXPECT_EQ(names, kFieldNames);
}

TEST(OrvCourseModel, StartsWithZerosFalseAndNothing) {
  const json::object values = OrvCourseModel().jsonObject();
  EXPECT_EQ(values.size(), 52u - kTexts.size() - 1);
  for (const auto& member : values) {
    EXPECT_TRUE(member.value() == 0 || member.value() == 0.0 || member.value() == false) << member.key();
  }
}

TEST(OrvCourseModel, ComesBackFromItsJsonForm) {
  const auto record = course(courseValues());
  EXPECT_EQ(record->jsonObject(), courseValues());
  EXPECT_EQ(course(record->jsonObject())->jsonObject(), courseValues());
}

TEST(OrvCourseModel, ComesBackFromAPropertyListOfItsJsonForm) {
  json::object values = courseValues();
  for (const std::string_view name : kNaturals) {
    values[name] = UINT64_MAX - static_cast<std::uint64_t>(values[name].as_int64());
  }
  values["coursePrice"] = static_cast<double>(9.9f);
  const auto record = course(values);
  const auto written = writePropertyList(record->jsonObject());
  ASSERT_TRUE(written) << written.error().description;
  const auto read = readPropertyList(*written);
  ASSERT_TRUE(read) << read.error().description;
  EXPECT_EQ(makeRecord<OrvCourseModel>(&*read)->jsonObject(), values);
}

TEST(OrvCourseModel, CannotBeStoredWithANullInItsCreationParameters) {
  const auto record = course({{"orv_createInfo", {{"cover", nullptr}}}});
  EXPECT_EQ(record->orv_createInfo.get(), (json::object{{"cover", nullptr}}));
  EXPECT_FALSE(writePropertyList(record->jsonObject()));
}

TEST(OrvCourseModel, HasFieldsOfTheKindsThatTheServerSends) {
  for (const RecordField& field : OrvCourseModel::table().fields()) {
    json::object values;
    values[field.name] = "-7.75";
    const auto record = course(values);
    record->liveType = 0;
    if (field.name == "orv_createInfo" || field.name == "liveType") continue;
    const json::value result = record->jsonObject().at(field.name);
    if (kTexts.contains(field.name)) {
      EXPECT_EQ(result, "-7.75") << field.name;
    } else if (kFlags.contains(field.name)) {
      EXPECT_EQ(result, true) << field.name;
    } else if (kReals.contains(field.name) || field.name == "coursePrice") {
      EXPECT_EQ(result, -7.75) << field.name;
    } else if (kNaturals.contains(field.name)) {
      EXPECT_EQ(result, UINT64_MAX - 6) << field.name;
    } else {
      EXPECT_EQ(result, -7) << field.name;
    }
  }
}

TEST(OrvCourseModel, HoldsItsPriceIn32Bits) {
  EXPECT_EQ(course({{"coursePrice", 9.9}})->coursePrice.get(), 9.9f);
  EXPECT_EQ(course({{"coursePrice", "9.90"}})->coursePrice.get(), 9.9f);
  EXPECT_EQ(course({{"coursePrice", 1e300}})->coursePrice.get(), 0);
}

TEST(OrvCourseModel, ReadsTheVectorDurationForTheLiveTypesOneAndThree) {
  const std::map<std::uint64_t, double> rows = {{0, 20}, {1, 10}, {2, 20},         {3, 10},
                                                {4, 20}, {5, 20}, {UINT64_MAX, 20}};
  for (const auto& [liveType, expected] : rows) {
    const auto record = course({{"orv_vectorDuration", 10.0}, {"duration", 20.0}, {"liveType", liveType}});
    EXPECT_EQ(record->duration(), expected) << liveType;
    EXPECT_EQ(record->jsonObject().at("duration"), expected) << liveType;
    EXPECT_EQ(record->jsonObject().at("orv_vectorDuration"), 10.0) << liveType;
  }
}

TEST(OrvCourseModel, WritesTheStoredDurationOnly) {
  const auto record = course({{"orv_vectorDuration", 10.0}, {"liveType", 3}});
  record->setDuration(20);
  EXPECT_EQ(record->duration(), 10);
  EXPECT_EQ(record->orv_vectorDuration.get(), 10);
  record->merge(json::object{{"duration", 30}});
  EXPECT_EQ(record->duration(), 10);
  record->liveType = 2;
  EXPECT_EQ(record->duration(), 30);
}

TEST(OrvCourseModel, StoresTheDurationThatWasReadOnceItIsCopiedArchivedOrSaved) {
  const auto record = course({{"orv_vectorDuration", 10.0}, {"duration", 20.0}, {"liveType", 1}});
  KeyedArchive archive;
  record->encodeWithCoder(archive);
  EXPECT_EQ(*archive.find("duration"), 10.0);
  for (const auto& later :
       {record->copyWithZone(), course(record->jsonObject()), OrvCourseModel::initWithCoder(archive)}) {
    later->liveType = 0;
    EXPECT_EQ(later->duration(), 10);
  }
  record->liveType = 0;
  EXPECT_EQ(record->duration(), 20);
}

TEST(OrvCourseModel, HashesTheDurationAsItReads) {
  const auto one = course({{"orv_vectorDuration", 10.0}, {"duration", 20.0}, {"liveType", 1}});
  const auto other = course({{"orv_vectorDuration", 10.0}, {"duration", 30.0}, {"liveType", 1}});
  EXPECT_EQ(one->hash(), other->hash());
  other->liveType = 0;
  one->liveType = 0;
  EXPECT_NE(one->hash(), other->hash());
}

TEST(OrvCourseModel, IsEditedWhenItIsLocal) {
  EXPECT_FALSE(OrvCourseModel().isEditting());
  EXPECT_TRUE(course({{"orv_local", 1}})->isEditting());
}

class DerivedCourse : public OrvCourseModel {};

TEST(OrvCourseModel, IsEqualByItsRoomWhateverElseItHolds) {
  const auto one = course({{"roomID", 5}, {"title", "one"}});
  const auto other = course({{"roomID", 5}, {"title", "other"}, {"classroomID", 9}});
  EXPECT_TRUE(one->isEqual(one.get()));
  EXPECT_TRUE(one->isEqual(other.get()));
  EXPECT_TRUE(other->isEqual(one.get()));
  EXPECT_NE(one->hash(), other->hash()) << "the hash goes over all fields";
  other->roomID = 6;
  EXPECT_FALSE(one->isEqual(other.get()));
  EXPECT_FALSE(one->isEqual(nullptr));
  EXPECT_TRUE(OrvCourseModel().isEqual(std::make_shared<OrvCourseModel>().get()));
}

TEST(OrvCourseModel, IsNotEqualToACourseOfAnotherClass) {
  const auto record = course({{"roomID", 5}});
  const auto derived = makeRecord<DerivedCourse>(json::object{{"roomID", 5}});
  EXPECT_FALSE(record->isEqual(derived.get()));
  EXPECT_FALSE(derived->isEqual(record.get()));
  EXPECT_TRUE(derived->isEqual(derived.get()));
}

TEST(OrvCourseModel, HashesAllFields) {
  const auto one = course(courseValues());
  EXPECT_EQ(one->hash(), course(courseValues())->hash());
  for (const RecordField& field : OrvCourseModel::table().fields()) {
    const auto other = course(courseValues());
    json::object change;
    change[field.name] = field.name == "orv_createInfo" ? json::value(json::object()) : json::value("0");
    other->merge(change);
    EXPECT_NE(one->hash(), other->hash()) << field.name;
  }
}

TEST(OrvCourseModel, IsCopiedFieldByField) {
  const auto record = course(courseValues());
  const auto copy = record->copyWithZone();
  EXPECT_NE(copy, record);
  EXPECT_EQ(copy->jsonObject(), courseValues());
  EXPECT_EQ(copy->hash(), record->hash());
  copy->title = "changed";
  copy->orv_createInfo = json::object();
  EXPECT_EQ(record->jsonObject(), courseValues());
}

TEST(OrvCourseModel, IsArchivedUnderItsFieldsNames) {
  const auto record = course(courseValues());
  KeyedArchive archive;
  record->encodeWithCoder(archive);
  EXPECT_EQ(archive.values(), courseValues());
  EXPECT_EQ(OrvCourseModel::initWithCoder(archive)->jsonObject(), courseValues());
  EXPECT_TRUE(record->isArchivable());
}

TEST(OrvCourseModel, HasTheTextFormOfItsJsonForm) {
  const auto record = course(courseValues());
  EXPECT_EQ(record->description(), describe(courseValues()));
  EXPECT_EQ(formatText("%@", record), describe(courseValues()));
}

TEST(OrvCourseModel, MergesAPartialReply) {
  const auto record = course(courseValues());
  record->merge(json::object{{"viewCnt", "12"}, {"title", nullptr}, {"intro", json::array()}});
  json::object expected = courseValues();
  expected["viewCnt"] = 12;
  expected.erase("title");
  EXPECT_EQ(record->jsonObject(), expected);
}

}  // namespace
}  // namespace orv::orv_course_model_test
