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
///     const auto user = makeRecord<OrvUserInfoModel>(reply);   // from a dictionary
///     const OptionalString nick = user->nick;                  // read and written like members
///     user->nick = "Ada";
///     user->merge({{"city", "London"}});                       // what is named is taken over, the rest stays
///     const json::object values = user->jsonObject();          // back to a dictionary
///
/// Reading a field while another thread merges is free of races, field by field. Records are shared: hold them
/// by `std::shared_ptr`. Every operation may be called on any thread.
///
/// How a host makes records of its own stands in `RecordField.h`.
class ORV_EXPORT Record : public std::enable_shared_from_this<Record> {
 public:
  virtual ~Record() = default;
  /// A record is known by its place: others may hold it. Classes that can be copied say so with a function that
  /// returns a new record; see `copyAllFields`.
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  /// The fields, in the order of their declaration. One table serves all records of a class.
  virtual const RecordTable& fields() const = 0;

  /// Takes over the members of a JSON dictionary that name fields; all others leave the record as it is. A
  /// number field takes numbers, flags and texts ("12abc" is 12, "yes" 1, anything that is not a number 0; JSON
  /// null is 0 too); a text field takes texts and numbers, null makes it absent, other kinds are ignored; a
  /// dictionary, array or nested record takes its own kind only, null makes it absent. A nested record that is
  /// there is merged in place. False, and no change, when `values` is not a dictionary.
  bool merge(const json::value* values);
  /// The same with a dictionary. Values are copied; the dictionary may go afterwards.
  void merge(const json::object& values);

  /// The record as a JSON dictionary: every number and flag, and whatever else is there, each under its first key and
  /// as the field reads. What is absent is left out, and so is a real that is not finite. `merge` takes it back.
  json::object jsonObject() const;

  /// Whether the other record is equal; a null pointer is not. A record is equal to nothing but itself unless its
  /// class says otherwise.
  virtual bool isEqual(const Record* other) const;
  /// A hash that goes with `isEqual`: a class that overrides one overrides both.
  virtual std::size_t hash() const;

  /// The text form, for logs: that of the JSON dictionary, on several lines. Secrets in it are not hidden.
  std::string description() const;

  /// Whether records of this class can be archived. One that cannot is left out of the archive of the record
  /// that it is nested in.
  virtual bool isArchivable() const { return false; }
  /// Writes every field that is there under its own name, nested records as archives of their own.
  void encodeWithCoder(KeyedArchive& archive) const;

 protected:
  Record() = default;
  /// Reads what `encodeWithCoder` wrote, into a new record: numbers that are not in the archive stay as they are, all
  /// else that is not becomes absent.
  void decode(const KeyedArchive& archive);
};

/// The text form of a record in a log line: what the slot `%@` of `formatText` shows.
ORV_EXPORT std::string describe(const Record& record);

/// Whether two records of exactly the same class have equal fields: texts byte for byte, dictionaries and arrays as
/// `sameJson` has it, nested records by their own equality. Any thread; the fields are compared one after another.
ORV_EXPORT bool allFieldsEqual(const Record& one, const Record& other);
/// A hash over all fields, for records that are equal by `allFieldsEqual`. Absent fields count as nothing. A record
/// whose fields change has another hash then, so it is no key of a container meanwhile.
ORV_EXPORT std::size_t hashOfAllFields(const Record& record);
/// Copies every field, as it reads, to a record of the same class; nested records are shared.
ORV_EXPORT void copyAllFields(const Record& from, Record& to);

/// A new record filled from a JSON dictionary; an empty one makes a record without anything set. Null when
/// `values` is null or not a dictionary. Any thread.
template <std::derived_from<Record> T>
std::shared_ptr<T> makeRecord(const json::value* values) {
  auto record = std::make_shared<T>();
  return record->merge(values) ? record : nullptr;
}
/// The same from a dictionary; never null.
template <std::derived_from<Record> T>
std::shared_ptr<T> makeRecord(const json::object& values) {
  auto record = std::make_shared<T>();
  record->merge(values);
  return record;
}

}  // namespace orv
