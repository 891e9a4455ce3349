#pragma once

#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/Record.h>
#include <orvnetwork/data/RecordField.h>

#include <memory>
#include <optional>

namespace orv::test {

/// A record that can be archived and is equal by its fields.
class InnerRecord : public Record {
 public:
  Property<std::int64_t> number;
  Property<OptionalString> text;

  static const RecordTable& table() {
    static const RecordTable fields({
        recordField<&InnerRecord::number>("number"),
        recordField<&InnerRecord::text>("text"),
    });
    return fields;
  }
  const RecordTable& fields() const override { return table(); }
  bool isEqual(const Record* other) const override {
    return other != nullptr && allFieldsEqual(*this, *other);
  }
  std::size_t hash() const override { return hashOfAllFields(*this); }
  bool isArchivable() const override { return true; }
  static std::shared_ptr<InnerRecord> initWithCoder(const KeyedArchive& archive) {
    auto record = std::make_shared<InnerRecord>();
    record->decode(archive);
    return record;
  }
};

/// A record that is equal to nothing but itself and cannot be archived.
class ClosedRecord : public Record {
 public:
  Property<bool> flag;

  static const RecordTable& table() {
    static const RecordTable fields({recordField<&ClosedRecord::flag>("flag")});
    return fields;
  }
  const RecordTable& fields() const override { return table(); }
};

/// A field of every kind, one with a key that is not its name, one with two keys, and one with a rule for reading.
class SampleRecord : public Record {
 public:
  Property<std::int64_t> whole;
  Property<std::uint64_t> natural;
  Property<std::int32_t> small;
  Property<float> single;
  Property<double> real;
  Property<bool> flag;
  Property<OptionalString> text;
  Property<OptionalString> other;
  Property<std::optional<json::object>> dictionary;
  Property<std::optional<json::array>> list;
  Property<std::shared_ptr<InnerRecord>> inner;
  Property<std::shared_ptr<ClosedRecord>> closed;
  Property<OptionalString> renamed;
  Property<OptionalString> ID;
  /// Reads as `whole` while `flag` is set.
  std::int64_t ruled() const { return flag ? whole.get() : ruled_.get(); }
  void setRuled(std::int64_t value) { ruled_ = value; }

  static const RecordTable& table() {
    static const RecordTable fields({
        recordField<&SampleRecord::whole>("whole"),
        recordField<&SampleRecord::natural>("natural"),
        recordField<&SampleRecord::small>("small"),
        recordField<&SampleRecord::single>("single"),
        recordField<&SampleRecord::real>("real"),
        recordField<&SampleRecord::flag>("flag"),
        recordField<&SampleRecord::text>("text"),
        recordField<&SampleRecord::other>("other"),
        recordField<&SampleRecord::dictionary>("dictionary"),
        recordField<&SampleRecord::list>("list"),
        recordField<&SampleRecord::inner>("inner"),
        recordField<&SampleRecord::closed>("closed"),
        recordField<&SampleRecord::renamed>("renamed", {"given"}),
        recordField<&SampleRecord::ID>("ID", {"id", "ID"}),
        recordAccessor<&SampleRecord::ruled, &SampleRecord::setRuled>("ruled"),
    });
    return fields;
  }
  const RecordTable& fields() const override { return table(); }
  bool isEqual(const Record* record) const override {
    return record != nullptr && allFieldsEqual(*this, *record);
  }
  std::size_t hash() const override { return hashOfAllFields(*this); }
  bool isArchivable() const override { return true; }
  std::shared_ptr<SampleRecord> copyWithZone() const {
    auto copy = std::make_shared<SampleRecord>();
    copyAllFields(*this, *copy);
    return copy;
  }
  static std::shared_ptr<SampleRecord> initWithCoder(const KeyedArchive& archive) {
    auto record = std::make_shared<SampleRecord>();
    record->decode(archive);
    return record;
  }

 private:
  Property<std::int64_t> ruled_;
};

/// A value for every field, all different from what a new record holds.
inline json::object sampleValues() {
  return {{"whole", -12},
          {"natural", 18446744073709551615u},
          {"small", 7},
          {"single", 0.5},
          {"real", 2.25},
          {"flag", true},
          {"text", "some text that is too long for its place in the string itself"},
          {"other", ""},
          {"dictionary", {{"a", nullptr}, {"b", {1, 2}}}},
          {"list", {1, nullptr, {{"c", "d"}}}},
          {"inner", {{"number", 3}, {"text", "inside"}}},
          {"closed", {{"flag", true}}},
          {"given", "under another key"},
          {"id", "77"},
          {"ruled", -12}};
}

}  // namespace orv::test
