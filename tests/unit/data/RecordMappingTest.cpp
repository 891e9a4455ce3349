#include "SampleRecord.h"

#include <boost/json/static_resource.hpp>
#include <gtest/gtest.h>

#include <optional>
#include <string_view>
#include <vector>

namespace orv::record_mapping_test {
namespace {

using orv::test::ClosedRecord;
using orv::test::InnerRecord;
using orv::test::SampleRecord;
using orv::test::sampleValues;

json::object only(std::string_view key, json::value value) {
  json::object values;
  values.emplace(key, std::move(value));
  return values;
}

std::shared_ptr<SampleRecord> fullRecord() {
  return makeRecord<SampleRecord>(sampleValues());
}

TEST(RecordMapping, FillsEveryFieldFromItsKey) {
  const auto record = fullRecord();
  EXPECT_EQ(record->whole.get(), -12);
  EXPECT_EQ(record->natural.get(), UINT64_MAX);
  EXPECT_EQ(record->small.get(), 7);
  EXPECT_EQ(record->single.get(), 0.5f);
  EXPECT_EQ(record->real.get(), 2.25);
  EXPECT_TRUE(record->flag);
  EXPECT_EQ(record->text.get(), "some text that is too long for its place in the string itself");
  EXPECT_EQ(record->other.get(), "");
  EXPECT_EQ(record->dictionary.get(), (json::object{{"a", nullptr}, {"b", {1, 2}}}));
  EXPECT_EQ(record->list.get(), (json::array{1, nullptr, {{"c", "d"}}}));
  EXPECT_EQ(record->inner.get()->number.get(), 3);
  EXPECT_EQ(record->inner.get()->text.get(), "inside");
  EXPECT_TRUE(record->closed.get()->flag);
  EXPECT_EQ(record->renamed.get(), "under another key");
  EXPECT_EQ(record->ID.get(), "77");
}

TEST(RecordMapping, LeavesFieldsWithoutAKeyAlone) {
  const auto record = fullRecord();
  const json::object before = record->jsonObject();
  const auto inner = record->inner.get();
  record->merge(json::object());
  record->merge(json::object{{"nothing", 1}, {"", 2}, {"WHOLE", 3}, {"text ", "x"}, {"numbers", nullptr}});
  EXPECT_EQ(record->jsonObject(), before);
  EXPECT_EQ(record->inner.get(), inner);
}

TEST(RecordMapping, LooksNoFieldUpUnderItsNameWhenItHasAnotherKey) {
  const auto record = makeRecord<SampleRecord>(json::object{{"renamed", "x"}});
  EXPECT_EQ(record->renamed.get(), std::nullopt);
  record->merge(json::object{{"given", "y"}, {"renamed", "x"}});
  EXPECT_EQ(record->renamed.get(), "y");
}

TEST(RecordMapping, TakesTheFirstKeyThatIsThere) {
  const auto idOf = [](const json::object& values) {
    SampleRecord record;
    record.ID = "old";
    record.merge(values);
    return record.ID.get();
  };
  EXPECT_EQ(idOf({{"id", "a"}}), "a");
  EXPECT_EQ(idOf({{"ID", "b"}}), "b");
  EXPECT_EQ(idOf({{"id", "a"}, {"ID", "b"}}), "a");
  EXPECT_EQ(idOf({{"ID", "b"}, {"id", "a"}}), "a");
  EXPECT_EQ(idOf({{"Id", "c"}}), "old");
}

TEST(RecordMapping, CountsAKeyWithANullOrAWrongKindAsThere) {
  SampleRecord record;
  record.ID = "old";
  record.merge(json::object{{"ID", "b"}, {"id", json::array()}});
  EXPECT_EQ(record.ID.get(), "old");
  record.merge(json::object{{"ID", "b"}, {"id", nullptr}});
  EXPECT_EQ(record.ID.get(), std::nullopt);
}

TEST(RecordMapping, FillsNumberFieldsWithZeroForWhatIsNoNumber) {
  for (const json::value& value :
       {json::value(nullptr), json::value(json::object{{"a", 1}}), json::value(json::array{1}),
        json::value("null"), json::value("abc"), json::value("")}) {
    SampleRecord record;
    record.merge(sampleValues());
    for (const char* key : {"whole", "natural", "small", "single", "real", "flag", "ruled"}) {
      record.merge(only(key, value));
    }
    EXPECT_EQ(record.whole.get(), 0) << value;
    EXPECT_EQ(record.natural.get(), 0u) << value;
    EXPECT_EQ(record.small.get(), 0) << value;
    EXPECT_EQ(record.single.get(), 0) << value;
    EXPECT_EQ(record.real.get(), 0) << value;
    EXPECT_FALSE(record.flag) << value;
    EXPECT_EQ(record.ruled(), 0) << value;
  }
}

TEST(RecordMapping, ConvertsNumbersByTheKindOfTheField) {
  SampleRecord record;
  const auto fill = [&](const json::value& value) {
    for (const char* key : {"whole", "natural", "small", "single", "real", "flag"}) {
      record.merge(only(key, value));
    }
  };
  fill(-1.9);
  EXPECT_EQ(record.whole.get(), -1);
  EXPECT_EQ(record.natural.get(), UINT64_MAX);
  EXPECT_EQ(record.small.get(), -1);
  EXPECT_EQ(record.single.get(), -1.9f);
  EXPECT_EQ(record.real.get(), -1.9);
  EXPECT_TRUE(record.flag);
  fill("5000000000.25");
  EXPECT_EQ(record.whole.get(), 5000000000);
  EXPECT_EQ(record.natural.get(), 5000000000u);
  EXPECT_EQ(record.small.get(), 705032704);
  EXPECT_EQ(record.single.get(), 5e9f);
  EXPECT_EQ(record.real.get(), 5000000000.25);
  fill("yes");
  EXPECT_EQ(record.whole.get(), 1);
  EXPECT_EQ(record.real.get(), 1);
  EXPECT_TRUE(record.flag);
  fill(0.5);
  EXPECT_EQ(record.whole.get(), 0);
  EXPECT_TRUE(record.flag);
  fill(1e39);
  EXPECT_EQ(record.whole.get(), INT64_MAX);
  EXPECT_EQ(record.natural.get(), static_cast<std::uint64_t>(INT64_MAX));
  EXPECT_EQ(record.single.get(), 0);
  EXPECT_EQ(record.real.get(), 1e39);
}

enum class Outcome { Kept, Absent, Taken };

constexpr auto kKept = Outcome::Kept;
constexpr auto kAbsent = Outcome::Absent;
constexpr auto kTaken = Outcome::Taken;

/// What becomes of a field when a value of each kind comes for it.
struct KindRow {
  std::string_view key;
  Outcome text, number, flag, null, dictionary, array;
};

const KindRow kKindRows[] = {
    {"text", kTaken, kTaken, kTaken, kAbsent, kKept, kKept},
    {"dictionary", kKept, kKept, kKept, kAbsent, kTaken, kKept},
    {"list", kKept, kKept, kKept, kAbsent, kKept, kTaken},
    {"inner", kKept, kKept, kKept, kAbsent, kTaken, kKept},
    {"closed", kKept, kKept, kKept, kAbsent, kTaken, kKept},
};

void expectOutcome(SampleRecord& record, std::string_view key, const json::value& value, Outcome outcome) {
  json::object expected = record.jsonObject();
  record.merge(only(key, value));
  json::object result = record.jsonObject();
  if (outcome == Outcome::Taken) {
    EXPECT_TRUE(result.contains(key)) << key << " from " << value;
    EXPECT_NE(result, expected) << key << " from " << value;
  }
  if (outcome != Outcome::Kept) expected.erase(key);
  if (outcome == Outcome::Taken) result.erase(key);
  EXPECT_EQ(result, expected) << key << " from " << value;
}

TEST(RecordMapping, TakesOverOrIgnoresOrRemovesByKind) {
  for (const KindRow& row : kKindRows) {
    for (const json::object& before : {json::object(), sampleValues()}) {
      const auto record = [&] { return makeRecord<SampleRecord>(before); };
      const json::object dictionary = {{"number", 9}, {"flag", false}};
      expectOutcome(*record(), row.key, "null", row.text);
      expectOutcome(*record(), row.key, 12, row.number);
      expectOutcome(*record(), row.key, 1.5, row.number);
      expectOutcome(*record(), row.key, UINT64_MAX, row.number);
      expectOutcome(*record(), row.key, true, row.flag);
      expectOutcome(*record(), row.key, nullptr, row.null);
      expectOutcome(*record(), row.key, dictionary, row.dictionary);
      expectOutcome(*record(), row.key, json::array{json::array()}, row.array);
    }
  }
}

TEST(RecordMapping, GivesTextFieldsTheTextOfANumber) {
  const std::vector<std::pair<json::value, std::string>> rows = {
      {"", ""},
      {"null", "null"},
      {"12abc", "12abc"},
      {true, "1"},
      {false, "0"},
      {0, "0"},
      {-5, "-5"},
      {INT64_MIN, "-9223372036854775808"},
      {UINT64_MAX, "18446744073709551615"},
      {1.0, "1"},
      {0.0, "0"},
      {-0.0, "-0"},
      {9.9, "9.9"},
      {0.1, "0.1"},
      {0.57, "0.57"},
      {19.99, "19.99"},
      {1706661902.345, "1706661902.345"},
      {68.32, "68.31999999999999"},
      {99.99, "99.98999999999999"},
      {98.4, "98.40000000000001"},
      {1e15, "1000000000000000"},
      {1e16, "1e+16"},
      {1e21, "1e+21"},
  };
  for (const auto& [value, text] : rows) {
    SampleRecord record;
    record.merge(only("text", value));
    EXPECT_EQ(record.text.get(), text) << value;
  }
  json::string zero("a");
  zero.push_back('\0');
  EXPECT_EQ(makeRecord<SampleRecord>(only("text", zero))->text.get(), std::string("a\0", 2));
}

TEST(RecordMapping, ReplacesDictionariesAndArraysAsAWhole) {
  SampleRecord record;
  record.merge(json::object{{"dictionary", {{"a", 1}, {"b", 2}}}, {"list", {1, 2, 3}}});
  record.merge(json::object{{"dictionary", {{"b", nullptr}}}, {"list", json::array{nullptr}}});
  EXPECT_EQ(record.dictionary.get(), (json::object{{"b", nullptr}}));
  EXPECT_EQ(record.list.get(), json::array{nullptr});
  record.merge(json::object{{"dictionary", json::object()}, {"list", json::array()}});
  EXPECT_EQ(record.dictionary.get(), json::object());
  EXPECT_EQ(record.list.get(), json::array());
}

TEST(RecordMapping, KeepsNothingOfTheDictionaryThatItWasFilledFrom) {
  SampleRecord record;
  {
    unsigned char memory[16 * 1024];
    json::static_resource resource(memory);
    const json::value values(sampleValues(), &resource);
    record.merge(&values);
    std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>('#'));
  }
  EXPECT_EQ(*record.dictionary.get(), sampleValues().at("dictionary").as_object());
  EXPECT_EQ(*record.list.get(), sampleValues().at("list").as_array());
  EXPECT_EQ(record.text.get(), "some text that is too long for its place in the string itself");
}

TEST(RecordMapping, MergesANestedRecordInPlace) {
  const auto record = fullRecord();
  const auto inner = record->inner.get();
  SampleRecord sharing;
  sharing.inner = inner;
  record->merge(json::object{{"inner", {{"number", "9"}}}});
  EXPECT_EQ(record->inner.get(), inner);
  EXPECT_EQ(inner->number.get(), 9);
  EXPECT_EQ(inner->text.get(), "inside");
  EXPECT_EQ(sharing.inner.get()->number.get(), 9);
  record->merge(json::object{{"inner", json::object()}});
  EXPECT_EQ(record->inner.get(), inner);
}

TEST(RecordMapping, MakesANestedRecordWhenThereIsNone) {
  SampleRecord record;
  record.merge(json::object{{"inner", {{"text", "x"}}}, {"closed", json::object()}});
  ASSERT_NE(record.inner.get(), nullptr);
  EXPECT_EQ(record.inner.get()->text.get(), "x");
  ASSERT_NE(record.closed.get(), nullptr);
}

TEST(RecordMapping, LetsANestedRecordGoForANullWithoutTouchingIt) {
  const auto record = fullRecord();
  const auto inner = record->inner.get();
  record->merge(json::object{{"inner", nullptr}});
  EXPECT_EQ(record->inner.get(), nullptr);
  EXPECT_EQ(inner->number.get(), 3);
  EXPECT_EQ(inner->text.get(), "inside");
}

TEST(RecordMapping, FillsAFieldWithAReadingRuleThroughItsWriter) {
  SampleRecord record;
  record.merge(json::object{{"ruled", 4}, {"flag", true}, {"whole", 5}});
  EXPECT_EQ(record.ruled(), 5);
  record.flag = false;
  EXPECT_EQ(record.ruled(), 4);
}

TEST(RecordMapping, SurvivesAReplyOfWrongKindsThroughout) {
  const auto record = fullRecord();
  const json::object before = record->jsonObject();
  json::object wrong;
  for (const char* key : {"text", "other", "given", "id"}) wrong.emplace(key, json::array{1, "x"});
  for (const char* key : {"dictionary", "inner", "closed"}) wrong.emplace(key, "{}");
  wrong.emplace("list", json::object{{"0", 1}});
  const json::value reply = wrong;
  EXPECT_TRUE(record->merge(&reply));
  EXPECT_EQ(record->jsonObject(), before);
}

TEST(RecordMapping, AnswersWhetherItWasGivenADictionary) {
  const auto record = fullRecord();
  const json::object before = record->jsonObject();
  EXPECT_FALSE(record->merge(nullptr));
  for (const json::value& value : {json::value(nullptr), json::value(json::array{sampleValues()}),
                                   json::value("{}"), json::value(1), json::value(true)}) {
    EXPECT_FALSE(record->merge(&value)) << value;
  }
  EXPECT_EQ(record->jsonObject(), before);
  const json::value empty = json::object();
  const json::value ignored = json::object{{"nothing", 1}};
  EXPECT_TRUE(record->merge(&empty));
  EXPECT_TRUE(record->merge(&ignored));
  EXPECT_EQ(record->jsonObject(), before);
}

TEST(RecordMapping, MakesARecordOfADictionaryOnly) {
  EXPECT_EQ(makeRecord<SampleRecord>(nullptr), nullptr);
  for (const json::value& value :
       {json::value(nullptr), json::value(json::array()), json::value("{}"), json::value(1)}) {
    EXPECT_EQ(makeRecord<SampleRecord>(&value), nullptr) << value;
  }
  const json::value empty = json::object();
  const auto record = makeRecord<SampleRecord>(&empty);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->jsonObject(), SampleRecord().jsonObject());
}

}  // namespace
}  // namespace orv::record_mapping_test
