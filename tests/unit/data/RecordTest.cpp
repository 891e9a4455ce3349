#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/data/TextFormat.h>

#include "SampleRecord.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace orv::record_test {
namespace {

using orv::test::ClosedRecord;
using orv::test::InnerRecord;
using orv::test::SampleRecord;
using orv::test::sampleValues;

std::shared_ptr<SampleRecord> fullRecord() {
  return makeRecord<SampleRecord>(sampleValues());
}

/// A record without what is equal to nothing but itself.
std::shared_ptr<SampleRecord> openRecord() {
  json::object values = sampleValues();
  values.erase("closed");
  return makeRecord<SampleRecord>(values);
}

std::string keysOf(const json::object& values) {
  std::string keys;
  for (const auto& member : values) keys += std::string(member.key()) + " ";
  return keys;
}

TEST(Record, WritesItsFieldsInTheOrderOfTheirDeclarationUnderTheirFirstKey) {
  EXPECT_EQ(keysOf(fullRecord()->jsonObject()),
            "whole natural small single real flag text other dictionary list inner closed given id ruled ");
  EXPECT_EQ(fullRecord()->jsonObject(), sampleValues());
}

TEST(Record, WritesEveryNumberAndFlagAndNothingThatIsAbsent) {
  EXPECT_EQ(writeJsonCompact(SampleRecord().jsonObject()).value(),
            R"({"whole":0,"natural":0,"small":0,"single":0,"real":0,"flag":false,"ruled":0})");
}

TEST(Record, WritesWhatIsEmptyButThere) {
  SampleRecord record;
  record.merge(json::object{{"text", ""}, {"dictionary", json::object()}, {"list", json::array()}});
  const json::object values = record.jsonObject();
  EXPECT_EQ(values.at("text"), "");
  EXPECT_EQ(values.at("dictionary"), json::object());
  EXPECT_EQ(values.at("list"), json::array());
}

TEST(Record, WritesNoNumberThatIsNotFinite) {
  for (const double number : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    SampleRecord record;
    record.real = number;
    record.single = static_cast<float>(number);
    EXPECT_EQ(keysOf(record.jsonObject()), "whole natural small flag ruled ");
    EXPECT_TRUE(writeJsonCompact(record.jsonObject()));
  }
}

TEST(Record, WritesNumbersInTheKindThatTheyAreReadIn) {
  SampleRecord record;
  record.natural = 5;
  record.small = -3;
  record.single = 9.9f;
  record.flag = true;
  json::object values = record.jsonObject();
  EXPECT_TRUE(values.at("natural").is_int64());
  EXPECT_TRUE(values.at("small").is_int64());
  EXPECT_EQ(values.at("single").get_double(), 9.8999996185302734);
  EXPECT_TRUE(values.at("real").is_double());
  EXPECT_TRUE(values.at("flag").is_bool());
  record.natural = UINT64_MAX;
  EXPECT_EQ(record.jsonObject().at("natural").get_uint64(), UINT64_MAX);
}

TEST(Record, WritesWhatAReadingRuleGives) {
  SampleRecord record;
  record.whole = 5;
  record.setRuled(4);
  EXPECT_EQ(record.jsonObject().at("ruled"), 4);
  record.flag = true;
  EXPECT_EQ(record.jsonObject().at("ruled"), 5);
}

TEST(Record, ComesBackFromItsJsonDictionaryAndItsTexts) {
  const json::object values = fullRecord()->jsonObject();
  EXPECT_EQ(makeRecord<SampleRecord>(values)->jsonObject(), values);
  const auto parsed = parseJson(writeJsonCompact(values).value());
  EXPECT_EQ(makeRecord<SampleRecord>(&*parsed)->jsonObject(), values);
  json::object storable = values;  // a property list holds no null
  storable["dictionary"] = json::object{{"b", {1, 2.5, true, "t"}}};
  storable["list"] = json::array{json::object()};
  const auto list = readPropertyList(writePropertyList(storable).value());
  ASSERT_TRUE(list) << list.error().description;
  EXPECT_EQ(makeRecord<SampleRecord>(&*list)->jsonObject(), storable);
}

TEST(Record, HasTheTextFormOfItsJsonDictionary) {
  const auto record = fullRecord();
  EXPECT_EQ(record->description(), describe(record->jsonObject()));
  EXPECT_EQ(formatText("<%@>", record), "<" + record->description() + ">");
  EXPECT_EQ(formatText("<%@>", *record), "<" + record->description() + ">");
  EXPECT_EQ(formatText("<%@>", std::shared_ptr<SampleRecord>()), "<(null)>");
}

TEST(Record, IsEqualToNothingButItselfUnlessItsClassSaysOtherwise) {
  const auto one = std::make_shared<ClosedRecord>();
  const auto other = std::make_shared<ClosedRecord>();
  EXPECT_TRUE(one->isEqual(one.get()));
  EXPECT_FALSE(one->isEqual(other.get()));
  EXPECT_FALSE(one->isEqual(nullptr));
  EXPECT_EQ(one->hash(), one->hash());
  EXPECT_NE(one->hash(), other->hash());
}

TEST(Record, IsEqualByItsFields) {
  const auto one = openRecord();
  const auto other = openRecord();
  EXPECT_TRUE(one->isEqual(other.get()));
  EXPECT_TRUE(other->isEqual(one.get()));
  EXPECT_EQ(one->hash(), other->hash());
  EXPECT_FALSE(one->isEqual(nullptr));
  EXPECT_TRUE(SampleRecord().isEqual(std::make_shared<SampleRecord>().get()));
}

TEST(Record, IsNotEqualWhenAnyFieldDiffers) {
  const std::vector<json::object> changes = {
      {{"whole", 1}},
      {{"natural", 0}},
      {{"small", 8}},
      {{"single", 0.25}},
      {{"real", 2.5}},
      {{"flag", false}},
      {{"text", "x"}},
      {{"text", nullptr}},
      {{"other", nullptr}},
      {{"dictionary", {{"a", nullptr}, {"b", {1, 3}}}}},
      {{"dictionary", {{"b", {1, 2}}}}},
      {{"dictionary", nullptr}},
      {{"list", json::array{1, nullptr}}},
      {{"list", nullptr}},
      {{"inner", {{"number", 4}}}},
      {{"inner", nullptr}},
      {{"closed", json::object()}},
      {{"given", "x"}},
      {{"id", "78"}},
  };
  const auto one = openRecord();
  for (const json::object& change : changes) {
    const auto other = openRecord();
    other->merge(change);
    EXPECT_FALSE(one->isEqual(other.get())) << change;
    EXPECT_FALSE(other->isEqual(one.get())) << change;
  }
}

class DerivedSample : public SampleRecord {};

TEST(Record, IsNotEqualToARecordOfAnotherClass) {
  const auto record = makeRecord<SampleRecord>(json::object());
  const auto derived = makeRecord<DerivedSample>(json::object());
  EXPECT_FALSE(record->isEqual(derived.get()));
  EXPECT_FALSE(derived->isEqual(record.get()));
  EXPECT_FALSE(InnerRecord().isEqual(record.get()));
  EXPECT_TRUE(derived->isEqual(makeRecord<DerivedSample>(json::object()).get()));
}

TEST(Record, ComparesNumbersByValueAlsoInsideDictionaries) {
  SampleRecord one;
  SampleRecord other;
  one.merge(json::object{{"dictionary", {{"a", 1}, {"b", 0}}}, {"list", {1, true}}});
  other.merge(json::object{{"dictionary", {{"b", false}, {"a", 1.0}}}, {"list", {1.0, 1}}});
  EXPECT_TRUE(one.isEqual(&other));
  EXPECT_EQ(one.hash(), other.hash());
  other.merge(json::object{{"dictionary", {{"a", "1"}, {"b", 0}}}});
  EXPECT_FALSE(one.isEqual(&other));
}

TEST(Record, ComparesRealsThatAreNoOrdinaryNumbers) {
  SampleRecord one;
  SampleRecord other;
  one.real = 0.0;
  other.real = -0.0;
  EXPECT_TRUE(one.isEqual(&other));
  EXPECT_EQ(one.hash(), other.hash());
  one.real = std::nan("");
  EXPECT_FALSE(one.isEqual(&other));
  other.real = -std::nan("1");
  EXPECT_TRUE(one.isEqual(&other));
  EXPECT_EQ(one.hash(), other.hash());
}

TEST(Record, ComparesNestedRecordsByTheirOwnEquality) {
  const auto one = fullRecord();
  const auto other = fullRecord();
  EXPECT_FALSE(one->isEqual(other.get())) << "each has a closed record of its own";
  EXPECT_NE(one->hash(), other->hash());
  other->closed = one->closed;
  EXPECT_TRUE(one->isEqual(other.get()));
  EXPECT_EQ(one->hash(), other->hash());
}

TEST(Record, HashesAbsentFieldsAsNothingAndEqualOnesAway) {
  SampleRecord record;
  const std::size_t plain = record.hash();
  record.text = "same";
  const std::size_t withText = record.hash();
  EXPECT_NE(withText, plain);
  record.other = "same";
  EXPECT_EQ(record.hash(), plain) << "two equal fields cancel out";
  record.text = std::nullopt;
  EXPECT_EQ(record.hash(), withText) << "it does not matter which field has the text";
  record.other = std::nullopt;
  EXPECT_EQ(record.hash(), plain);

  SampleRecord one;
  SampleRecord swapped;
  one.merge(json::object{{"text", "a"}, {"other", "b"}});
  swapped.merge(json::object{{"text", "b"}, {"other", "a"}});
  EXPECT_EQ(one.hash(), swapped.hash());
  EXPECT_FALSE(one.isEqual(&swapped));
}

TEST(Record, HashesWithEveryField) {
  const std::size_t plain = SampleRecord().hash();
  for (const auto& member : sampleValues()) {
    if (member.key() == "ruled") continue;
    SampleRecord record;
    record.merge(json::object{{member.key(), member.value()}});
    const bool isEmptyText = member.key() == "other";  // whose hash may be anything
    EXPECT_TRUE(record.hash() != plain || isEmptyText) << member.key();
  }
}

TEST(Record, IsCopiedFieldByFieldWithItsNestedRecordsShared) {
  const auto record = fullRecord();
  const auto copy = record->copyWithZone();
  EXPECT_NE(copy, record);
  EXPECT_EQ(copy->jsonObject(), record->jsonObject());
  EXPECT_EQ(copy->inner.get(), record->inner.get());
  EXPECT_EQ(copy->closed.get(), record->closed.get());
  EXPECT_TRUE(copy->isEqual(record.get()));
  record->merge(json::object{{"text", "new"}, {"whole", 1}, {"list", nullptr}, {"inner", {{"number", 8}}}});
  EXPECT_EQ(copy->text.get(), sampleValues().at("text").as_string().c_str());
  EXPECT_EQ(copy->whole.get(), -12);
  EXPECT_TRUE(copy->list.get().has_value());
  EXPECT_EQ(copy->inner.get()->number.get(), 8);
}

TEST(Record, StoresInACopyWhatTheOriginalReads) {
  SampleRecord record;
  record.merge(json::object{{"whole", 5}, {"ruled", 4}, {"flag", true}});
  const auto copy = record.copyWithZone();
  copy->flag = false;
  EXPECT_EQ(copy->ruled(), 5);
  record.flag = false;
  EXPECT_EQ(record.ruled(), 4);
}

}  // namespace
}  // namespace orv::record_test
