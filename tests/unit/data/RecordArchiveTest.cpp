#include <orvnetwork/data/PropertyList.h>

#include "SampleRecord.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orv::record_archive_test {
namespace {

using orv::test::ClosedRecord;
using orv::test::SampleRecord;
using orv::test::sampleValues;

json::object archiveOf(const Record& record) {
  KeyedArchive archive;
  record.encodeWithCoder(archive);
  return archive.values();
}

std::shared_ptr<SampleRecord> restored(json::object archive) {
  return SampleRecord::initWithCoder(KeyedArchive(std::move(archive)));
}

TEST(RecordArchive, HoldsEveryFieldUnderTheFieldsOwnName) {
  json::object expected = sampleValues();
  expected.erase("closed");  // cannot be archived
  expected.erase("given");
  expected.erase("id");
  expected["renamed"] = "under another key";
  expected["ID"] = "77";
  EXPECT_EQ(archiveOf(*makeRecord<SampleRecord>(sampleValues())), expected);
}

TEST(RecordArchive, LeavesOutWhatIsAbsent) {
  EXPECT_EQ(archiveOf(SampleRecord()), (json::object{{"whole", 0},
                                                     {"natural", 0},
                                                     {"small", 0},
                                                     {"single", 0.0},
                                                     {"real", 0.0},
                                                     {"flag", false},
                                                     {"ruled", 0}}));
}

TEST(RecordArchive, GivesTheRecordBackSaveWhatCannotBeArchived) {
  const auto record = makeRecord<SampleRecord>(sampleValues());
  const auto back = restored(archiveOf(*record));
  json::object expected = record->jsonObject();
  expected.erase("closed");
  EXPECT_EQ(back->jsonObject(), expected);
  EXPECT_EQ(back->closed.get(), nullptr);
  EXPECT_NE(back->inner.get(), record->inner.get());
  record->closed = nullptr;
  EXPECT_TRUE(back->isEqual(record.get()));
  EXPECT_EQ(restored(archiveOf(SampleRecord()))->jsonObject(), SampleRecord().jsonObject());
}

TEST(RecordArchive, SurvivesAPropertyListText) {
  json::object values = sampleValues();
  values["dictionary"] = json::object{{"a", {1, 2.5, false}}};  // a property list holds no null
  values["list"] = json::array{"x", json::object()};
  values.erase("closed");
  const auto record = makeRecord<SampleRecord>(values);
  const auto written = writePropertyList(archiveOf(*record));
  ASSERT_TRUE(written) << written.error().description;
  const auto read = readPropertyList(*written);
  ASSERT_TRUE(read) << read.error().description;
  EXPECT_TRUE(restored(read->get_object())->isEqual(record.get()));
}

TEST(RecordArchive, KeepsNumbersThatAreNotFinite) {
  SampleRecord record;
  record.real = HUGE_VAL;
  record.single = std::nanf("");
  EXPECT_TRUE(std::isinf(archiveOf(record).at("real").get_double()));
  EXPECT_TRUE(std::isnan(archiveOf(record).at("single").get_double()));
  // They fill fields by the rules that hold for all numbers.
  EXPECT_EQ(restored(archiveOf(record))->real.get(), 0);
  EXPECT_EQ(restored(archiveOf(record))->single.get(), 0);
}

TEST(RecordArchive, HoldsWhatAReadingRuleGives) {
  SampleRecord record;
  record.merge(json::object{{"whole", 5}, {"ruled", 4}, {"flag", true}});
  EXPECT_EQ(archiveOf(record).at("ruled"), 5);
  const auto back = restored(archiveOf(record));
  back->flag = false;
  EXPECT_EQ(back->ruled(), 5);
}

TEST(RecordArchive, SetsNumbersFromNumbersAndFlagsOnly) {
  const json::array others = {"5", nullptr, json::array{5}, json::object{{"a", 5}}};
  for (const json::value& value : others) {
    for (const char* name : {"whole", "natural", "small", "single", "real", "flag", "ruled"}) {
      EXPECT_EQ(restored({{name, value}})->jsonObject(), SampleRecord().jsonObject()) << name << value;
    }
  }
  const auto crossed =
      restored({{"whole", 2.75}, {"real", true}, {"flag", 2}, {"natural", -1}, {"small", true}});
  EXPECT_EQ(crossed->whole.get(), 2);
  EXPECT_EQ(crossed->real.get(), 1);
  EXPECT_TRUE(crossed->flag);
  EXPECT_EQ(crossed->natural.get(), UINT64_MAX);
  EXPECT_EQ(crossed->small.get(), 1);
}

TEST(RecordArchive, LeavesFieldsAbsentWhoseMemberIsOfAWrongKind) {
  for (const char* name : {"text", "other", "renamed", "ID"}) {
    EXPECT_EQ(restored({{name, json::array{"x"}}})->jsonObject(), SampleRecord().jsonObject()) << name;
    EXPECT_EQ(restored({{name, json::object()}})->jsonObject(), SampleRecord().jsonObject()) << name;
    EXPECT_EQ(restored({{name, nullptr}})->jsonObject(), SampleRecord().jsonObject()) << name;
  }
  for (const char* name : {"dictionary", "inner", "closed"}) {
    EXPECT_EQ(restored({{name, json::array{1}}})->jsonObject(), SampleRecord().jsonObject()) << name;
    EXPECT_EQ(restored({{name, "x"}})->jsonObject(), SampleRecord().jsonObject()) << name;
    EXPECT_EQ(restored({{name, nullptr}})->jsonObject(), SampleRecord().jsonObject()) << name;
  }
  EXPECT_EQ(restored({{"list", json::object{{"a", 1}}}})->jsonObject(), SampleRecord().jsonObject());
  EXPECT_EQ(restored({{"closed", {{"flag", true}}}})->closed.get(), nullptr);
}

TEST(RecordArchive, DoesNotReadJsonKeysOrUnknownMembers) {
  EXPECT_EQ(restored({{"given", "x"}, {"id", "y"}, {"nothing", 1}})->jsonObject(),
            SampleRecord().jsonObject());
}

TEST(KeyedArchive, KeepsTheLastValueOfAKey) {
  KeyedArchive archive;
  EXPECT_EQ(archive.find("a"), nullptr);
  archive.encode("a", 1);
  archive.encode("a", "two");
  ASSERT_NE(archive.find("a"), nullptr);
  EXPECT_EQ(*archive.find("a"), "two");
  EXPECT_EQ(archive.values().size(), 1u);
}

}  // namespace
}  // namespace orv::record_archive_test
