#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Record.h>
#include <orvnetwork/data/Types.h>

#include <array>
#include <span>
#include <vector>

namespace orv {

class JsonView;

/// What the field table knows of one field: its names, and how it is read and written. Made by `recordField` and
/// `recordAccessor` in `RecordField.h`; nobody else fills one.
///
/// The functions take records of the class that the field was made for, and no others. Each may be called on any
/// thread.
struct RecordField {
  /// The field's own name: what it is called in an archive. It lives as long as the program, as the keys do.
  std::string_view name;
  /// The JSON keys under which it is looked for, the first one that is there counts; the first of the list is the
  /// one that it is written under.
  std::vector<std::string_view> keys;

  /// Fills the field from a JSON value by the rules of its kind, or leaves it as it is when they ignore the value.
  void (*assign)(Record& record, const json::value& value);
  /// The same from a value that stands in a text and has not been made.
  void (*assignView)(Record& record, const JsonView& value);
  /// Adds the field to a JSON dictionary, if it has anything to add.
  void (*emit)(const Record& record, std::string_view key, json::object& out);
  /// Whether the field is equal in two records.
  bool (*same)(const Record& one, const Record& other);
  /// A hash of the field's value; 0 for an absent one.
  std::size_t (*hash)(const Record& record);
  /// Reads the field of one record and writes that of the other.
  void (*copy)(const Record& from, Record& to);
  /// Puts the field into an archive, if there is anything to be archived.
  void (*encode)(const Record& record, std::string_view name, KeyedArchive& archive);
  /// Fills the field from an archive.
  void (*decode)(Record& record, std::string_view name, const KeyedArchive& archive);
};

/// The fields of a class of records, in the order of their declaration, found by JSON key in constant time. Made
/// once a class, in a static variable of the function that returns it, and never changed. Any thread.
///
/// A whole class with its table stands as an example in `RecordField.h`. A host may also walk a table, say to show a
/// record's fields by name:
///
///     const json::object values = record.jsonObject();
///     for (const RecordField& field : record.fields().fields())
///       if (const json::value* value = member(values, field.keys.front())) show(field.name, *value);
class ORV_EXPORT RecordTable {
 public:
  /// How many fields a record may have.
  static constexpr std::size_t kMaxFields = 64;

  /// At most `kMaxFields` fields, and no key that two fields share: otherwise the program ends with a message.
  explicit RecordTable(std::vector<RecordField> fields);

  /// The fields, in the order in which they were given.
  std::span<const RecordField> fields() const { return fields_; }

  /// Fills each field of `record` whose key is there. The record must be of the table's class. Of several keys of one
  /// field the one counts that stands first in the field's list, be its value null; keys that no field has are passed
  /// over. The fields are filled in the order of the table, whatever the order in the dictionary.
  void merge(Record& record, const json::object& values) const;
  /// The same with a dictionary that stands in a text and has not been made.
  void merge(Record& record, const JsonView& values) const;

 private:
  /// A key as it is compared: the bytes at its both ends, as numbers, are all of one that is not long. So nearly every
  /// key is found without a walk along its letters.
  struct Key {
    Key() = default;
    explicit Key(std::string_view letters);
    bool operator==(const Key& other) const;
    std::size_t hash() const;

    std::uint64_t front = 0, back = 0;
    std::string_view letters;
  };
  /// A key's place in the table of keys: the field that it belongs to and its rank among the field's keys.
  struct Slot {
    Key key;
    std::uint8_t field = 0;
    std::uint8_t rank = 0;
    bool isFree() const { return key.letters.empty(); }
  };
  static constexpr std::size_t kSlots = 256;

  void addKey(std::string_view key, std::size_t field, std::size_t rank);
  const Slot* find(std::string_view key) const;

  std::vector<RecordField> fields_;
  std::array<Slot, kSlots> slots_;
};

}  // namespace orv
