#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/Record.h>
#include <orvnetwork/data/RecordField.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace orv::record_table_test {
namespace {

const RecordTable& emptyTable() {
  static const RecordTable table({});
  return table;
}

json::object only(std::string_view key, std::size_t number) {
  json::object values;
  values.emplace(key, number);
  return values;
}

class ManyKeys : public Record {
 public:
  Property<std::int64_t> number;
  static RecordField field(std::vector<std::string_view> keys) {
    return recordField<&ManyKeys::number>("number", std::move(keys));
  }
  const RecordTable& fields() const override { return emptyTable(); }
};

TEST(RecordTable, FindsEveryKeyOfAFullTable) {
  std::vector<std::string> keys;
  for (std::size_t at = 0; at < RecordTable::kMaxFields; ++at) {
    keys.push_back(std::string(at % 9, 'k') + std::to_string(at));
  }
  std::vector<RecordField> fields;
  for (const std::string& key : keys) fields.push_back(ManyKeys::field({key}));
  const RecordTable table(std::move(fields));
  ManyKeys record;
  for (std::size_t at = 0; at < keys.size(); ++at) {
    table.merge(record, only(keys[at], at + 1));
    EXPECT_EQ(record.number.get(), static_cast<std::int64_t>(at + 1)) << keys[at];
    table.merge(record, only(keys[at] + "0x", 0));
    EXPECT_EQ(record.number.get(), static_cast<std::int64_t>(at + 1)) << keys[at];
  }
}

TEST(RecordTable, TellsKeysApartThatDifferInOneLetterOrInTheirLengths) {
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789ABCD";
  for (std::size_t size = 1; size <= kLetters.size(); ++size) {
    const std::string key(kLetters.substr(0, size));
    const RecordTable table({ManyKeys::field({key})});
    ManyKeys record;
    table.merge(record, only(key, 1));
    EXPECT_EQ(record.number, 1) << key;
    for (std::size_t at = 0; at < size; ++at) {
      std::string other = key;
      other[at] = '_';
      table.merge(record, only(other, 2));
      EXPECT_EQ(record.number, 1) << other;
    }
    for (const std::string& other : {key + key.back(), key.front() + key, '\0' + key, key.substr(1)}) {
      table.merge(record, only(other, 2));
      EXPECT_EQ(record.number, 1) << other;
    }
  }
}

TEST(RecordTable, TellsKeysOfOneLetterApartByTheirLengths) {
  for (std::size_t size = 1; size <= 40; ++size) {
    const std::string key(size, 'k');
    const RecordTable table({ManyKeys::field({key})});
    ManyKeys record;
    for (std::size_t other = 1; other <= 40; ++other) {
      table.merge(record, only(std::string(other, 'k'), other));
      EXPECT_EQ(record.number, static_cast<std::int64_t>(other < size ? 0 : size)) << size << ", " << other;
    }
  }
}

TEST(RecordTable, RefusesAKeyThatTwoFieldsShare) {
  EXPECT_DEATH(RecordTable({ManyKeys::field({"a", "b"}), ManyKeys::field({"b"})}), "has a key twice: b");
}

TEST(RecordTable, RefusesMoreFieldsThanItHasRoomFor) {
  EXPECT_DEATH(RecordTable(std::vector<RecordField>(RecordTable::kMaxFields + 1, ManyKeys::field({}))),
               "has too many fields");
}

}  // namespace
}  // namespace orv::record_table_test
