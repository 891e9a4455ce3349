#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Record.h>
#include <orvnetwork/data/Types.h>

#include <array>
#include <span>
#include <vector>

namespace orv {

/// What the field table knows of one field: its names, and how it is read and written. Made by `recordField` and
/// `recordAccessor` in `RecordField.h`.
struct RecordField {
  /// The field's own name: what it is called in an archive.
  std::string_view name;
  /// The JSON keys under which it is looked for, the first one that is there counts; the first of the list is the
  /// one that it is written under.
  std::vector<std::string_view> keys;

  /// Fills the field from a JSON value by the rules of its kind.
  void (*assign)(Record& record, const json::value& value);
  /// Adds the field to a JSON dictionary, if it has anything to add.
  void (*emit)(const Record& record, std::string_view key, json::object& out);
  bool (*same)(const Record& one, const Record& other);
  std::size_t (*hash)(const Record& record);
  void (*copy)(const Record& from, Record& to);
  void (*encode)(const Record& record, std::string_view name, KeyedArchive& archive);
  void (*decode)(Record& record, std::string_view name, const KeyedArchive& archive);
};

/// The fields of a class of records, in the order of their declaration, found by JSON key in constant time. Made
/// once a class and never changed. Any thread.
class ORV_EXPORT RecordTable {
 public:
  static constexpr std::size_t kMaxFields = 64;

  /// At most `kMaxFields` fields, and no key that two fields share: otherwise the program ends with a message.
  explicit RecordTable(std::vector<RecordField> fields);

  std::span<const RecordField> fields() const { return fields_; }

  /// Fills each field of `record` whose key is there.
  void merge(Record& record, const json::object& values) const;

 private:
  /// A key's place in the table of keys: the field that it belongs to and its rank among the field's keys.
  struct Slot {
    std::string_view key;
    std::uint8_t field = 0;
    std::uint8_t rank = 0;
  };
  static constexpr std::size_t kSlots = 256;

  void addKey(std::string_view key, std::size_t field, std::size_t rank);
  const Slot* find(std::string_view key) const;

  std::vector<RecordField> fields_;
  std::array<Slot, kSlots> slots_;
};

}  // namespace orv
