#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/KeyedArchive.h>
#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/Types.h>

#include <memory>

namespace orv {

class RecordTable;

/// A record of the server's data: a list of typed fields that is filled from JSON dictionaries and turned back
/// into them. Every operation walks the record's one field table.
///
/// Reading a field while another thread merges is free of races, field by field. Records are shared: hold them
/// by `std::shared_ptr`. Every operation may be called on any thread.
class ORV_EXPORT Record : public std::enable_shared_from_this<Record> {
 public:
  virtual ~Record() = default;
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  /// The fields, in the order of their declaration.
  virtual const RecordTable& fields() const = 0;

  /// Takes over the members of a JSON dictionary that name fields; all others leave the record as it is. A
  /// number field takes numbers, flags and texts ("12abc" is 12, "yes" 1, anything that is not a number 0; JSON
  /// null is 0 too); a text field takes texts and numbers, null makes it absent, other kinds are ignored; a
  /// dictionary, array or nested record takes its own kind only, null makes it absent. A nested record that is
  /// there is merged in place. False, and no change, when `values` is not a dictionary.
  bool merge(const json::value* values);
  void merge(const json::object& values);

  /// The record as a JSON dictionary: every number and flag, and whatever else is there.
  json::object jsonObject() const;

  /// Whether the other record is equal. A record is equal to nothing but itself unless its class says otherwise.
  virtual bool isEqual(const Record* other) const;
  /// Equal records have equal hashes where the class does not say otherwise.
  virtual std::size_t hash() const;

  /// The text form: that of the JSON dictionary.
  std::string description() const;

  /// Whether records of this class can be archived. One that cannot is left out of the archive of the record
  /// that it is nested in.
  virtual bool isArchivable() const { return false; }
  /// Writes every field under its own name.
  void encodeWithCoder(KeyedArchive& archive) const;

 protected:
  Record() = default;
  /// Reads what `encodeWithCoder` wrote.
  void decode(const KeyedArchive& archive);
};

/// The text form of a record in a log line.
ORV_EXPORT std::string describe(const Record& record);

/// Whether two records of exactly the same class have equal fields, nested records by their own equality.
ORV_EXPORT bool allFieldsEqual(const Record& one, const Record& other);
/// A hash over all fields. Absent fields count as nothing.
ORV_EXPORT std::size_t hashOfAllFields(const Record& record);
/// Copies every field to a record of the same class; nested records are shared.
ORV_EXPORT void copyAllFields(const Record& from, Record& to);

/// A new record filled from a JSON dictionary; an empty one makes a record without anything set. Null when
/// `values` is null or not a dictionary.
template <std::derived_from<Record> T>
std::shared_ptr<T> makeRecord(const json::value* values) {
  auto record = std::make_shared<T>();
  return record->merge(values) ? record : nullptr;
}
template <std::derived_from<Record> T>
std::shared_ptr<T> makeRecord(const json::object& values) {
  auto record = std::make_shared<T>();
  record->merge(values);
  return record;
}

}  // namespace orv
