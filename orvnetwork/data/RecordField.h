#pragma once

#include <orvnetwork/data/JsonEquality.h>
#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/RecordMapping.h>
#include <orvnetwork/data/RecordNumber.h>

#include <cmath>
#include <concepts>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// @file
/// The making of field tables. The source of a class of records includes this; nobody else needs it.
///
/// A host that has records of its own makes a class of them in two steps. The header declares the fields:
///
///     #include <orvnetwork/data/Record.h>
///
///     class Lesson final : public orv::Record {
///      public:
///       orv::Property<std::int64_t> lessonID;
///       orv::Property<orv::OptionalString> title;
///       orv::Property<double> price;
///       orv::Property<bool> isFree;
///       orv::Property<std::optional<orv::json::array>> tags;
///       orv::Property<std::shared_ptr<Teacher>> teacher;      // a record too
///
///       /// In seconds; a lesson that has not ended lasts as long as is planned.
///       double duration() const;
///       void setDuration(double seconds) { duration_ = seconds; }
///
///       const orv::RecordTable& fields() const override;
///       bool isEqual(const orv::Record* other) const override {
///         return other != nullptr && orv::allFieldsEqual(*this, *other);
///       }
///       std::size_t hash() const override { return orv::hashOfAllFields(*this); }
///
///      private:
///       orv::Property<double> duration_;
///     };
///
/// The source lists them once, in the order in which they are to be written:
///
///     #include <orvnetwork/data/RecordField.h>
///
///     const orv::RecordTable& Lesson::fields() const {
///       static const auto& table = *new orv::RecordTable({
///           orv::recordField<&Lesson::lessonID>("lessonID", {"id", "lessonID"}),
///           orv::recordField<&Lesson::title>("title"),
///           orv::recordField<&Lesson::price>("price"),
///           orv::recordField<&Lesson::isFree>("isFree"),
///           orv::recordField<&Lesson::tags>("tags"),
///           orv::recordField<&Lesson::teacher>("teacher"),
///           orv::recordAccessor<&Lesson::duration, &Lesson::setDuration>("duration"),
///       });
///       return table;
///     }
///
/// The table is never destroyed, so that a record may be used while the program ends. What a field takes and gives
/// depends on its type:
///
/// | type | takes | null | other kinds | is written |
/// |---|---|---|---|---|
/// | `bool`, integers, `float`, `double` | numbers, flags, texts; see `RecordNumber` | 0 | 0 | always, unless it is not finite |
/// | `OptionalString` | texts, and numbers and flags in their text form | absent | ignored | when it is there |
/// | `std::optional<json::object>` | dictionaries, with nulls in them | absent | ignored | when it is there |
/// | `std::optional<json::array>` | arrays, with nulls in them | absent | ignored | when it is there |
/// | `std::shared_ptr` of a record class | dictionaries; a record that is there is merged in place | absent | ignored | when it is there |
///
/// A class whose records can be copied or archived says so with functions of its own, which walk the same table. The
/// names matter: a record that holds such a one looks for `initWithCoder`.
///
///     std::shared_ptr<Lesson> Lesson::copyWithZone() const {
///       auto copy = std::make_shared<Lesson>();
///       orv::copyAllFields(*this, *copy);
///       return copy;
///     }
///
///     // bool isArchivable() const override { return true; }
///     std::shared_ptr<Lesson> Lesson::initWithCoder(const orv::KeyedArchive& archive) {   // static
///       auto lesson = std::make_shared<Lesson>();
///       lesson->decode(archive);
///       return lesson;
///     }
///
/// Integers are `std::int64_t`, `std::uint64_t` and `std::int32_t`; other types do not compile.

namespace orv {

/// How a field is reached, and what fields of a type do. `recordField` and `recordAccessor` put these together.
namespace detail {

/// The class that a field belongs to, and the type of its value, from what the table names: a member or its getter.

template <typename T>
struct MemberParts;
template <typename Class, typename Value>
struct MemberParts<Property<Value> Class::*> {
  using Owner = Class;
  using Type = Value;
};
template <typename Class, typename Value>
struct MemberParts<Value (Class::*)() const> {
  using Owner = Class;
  using Type = Value;
};

/// A field that is a property of the record.
template <auto Member>
struct MemberAccess {
  using Owner = typename MemberParts<decltype(Member)>::Owner;
  using Value = typename MemberParts<decltype(Member)>::Type;
  static Value read(const Record& record) { return (static_cast<const Owner&>(record).*Member).get(); }
  static Property<Value>& property(Record& record) { return static_cast<Owner&>(record).*Member; }
  static void write(Record& record, Value value) { property(record).set(std::move(value)); }
  template <typename Reader>
  static decltype(auto) visit(const Record& record, Reader&& reader) {
    return (static_cast<const Owner&>(record).*Member).visit(std::forward<Reader>(reader));
  }
};

/// A field that is read and written by functions of the record. What is written need not be what is read.
template <auto Getter, auto Setter>
struct AccessorAccess {
  using Owner = typename MemberParts<decltype(Getter)>::Owner;
  using Value = typename MemberParts<decltype(Getter)>::Type;
  static Value read(const Record& record) { return (static_cast<const Owner&>(record).*Getter)(); }
  static void write(Record& record, Value value) { (static_cast<Owner&>(record).*Setter)(std::move(value)); }
  template <typename Reader>
  static decltype(auto) visit(const Record& record, Reader&& reader) {
    return reader(read(record));
  }
};

/// What fields of a type do; one specialisation a kind of field. `Access` is one of the two above.
template <typename Value>
struct FieldRules;

/// Numbers and flags: always there.
template <typename Number>
requires std::is_arithmetic_v<Number>
struct FieldRules<Number> {
  /// Every value says something: what is no number is 0.
  template <typename Access>
  static void assign(Record& record, const json::value& value) {
    Access::write(record, RecordNumber(value).as<Number>());
  }
  template <typename Access>
  static void assignView(Record& record, const JsonView& value) {
    Access::write(record, RecordNumber(value).as<Number>());
  }
  /// The number in the kind in which it would come back from a JSON text.
  static json::value toJson(Number number) {
    if constexpr (std::same_as<Number, std::uint64_t>) {
      // The reader of JSON gives every integer that fits as a signed one.
      if (number <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return static_cast<std::int64_t>(number);
      }
      return number;
    } else if constexpr (std::floating_point<Number>) {
      return static_cast<double>(number);
    } else if constexpr (std::same_as<Number, bool>) {
      return number;
    } else {
      return static_cast<std::int64_t>(number);
    }
  }
  /// JSON has no NaN and no infinities.
  static bool isWritable(Number number) {
    if constexpr (std::floating_point<Number>) return std::isfinite(number);
    return true;
  }
  template <typename Access>
  static void emit(const Record& record, std::string_view key, json::object& out) {
    const Number number = Access::read(record);
    if (isWritable(number)) out.emplace(key, toJson(number));
  }
  /// NaN is equal to itself here: nothing has changed.
  static bool same(Number one, Number other) { return one == other || (one != one && other != other); }
  /// Every NaN has one hash.
  static std::size_t hash(Number number) { return number == number ? std::hash<Number>()(number) : 1; }
  /// An archive takes numbers that are not finite too.
  template <typename Access>
  static void encode(const Record& record, std::string_view name, KeyedArchive& archive) {
    archive.encode(name, toJson(Access::read(record)));
  }
  /// Only a number or a flag is taken; without one the field keeps what it has.
  template <typename Access>
  static void decode(Record& record, const json::value* value) {
    if (value != nullptr && (value->is_number() || value->is_bool())) assign<Access>(record, *value);
  }
};

/// Fills a text field from a text that stands in another one: one function for all of them, so that the processor has
/// it at hand.
ORV_EXPORT void setText(Property<OptionalString>& field, const JsonView& text);

/// Texts, dictionaries and arrays: taken over or made absent; other kinds are ignored.
template <typename Stored>
struct OptionalRules {
  using Value = std::optional<Stored>;
  static constexpr bool isText = std::same_as<Stored, std::string>;

  /// The dictionary or the array that a value is; null when it is another kind.
  template <typename JsonValue>
  static auto* containerIn(JsonValue& value) {
    if constexpr (std::same_as<Stored, json::object>) {
      return value.if_object();
    } else {
      return value.if_array();
    }
  }
  /// Whether a value is of a kind that the field takes. Numbers and flags have a text form.
  static bool takes(const json::value& value) {
    if constexpr (isText) {
      return value.is_string() || value.is_number() || value.is_bool();
    } else {
      return containerIn(value) != nullptr;
    }
  }
  /// What the field holds then. The copy has storage of its own, and not that of the frame that the value came in.
  static Value fromJson(const json::value& value) {
    if constexpr (isText) {
      if (Value text = looseString(&value)) return text;
      return textOfNumber(value);
    } else {
      return Stored(*containerIn(value), json::storage_ptr());
    }
  }
  static json::value toJson(const std::string& text) { return json::value(json::string_view(text)); }
  template <typename Container>
  static json::value toJson(const Container& container) {
    return container;
  }
  /// Texts byte for byte, the others as `sameJson` has it.
  static bool same(const Value& one, const Value& other) {
    if constexpr (isText) {
      return one == other;
    } else {
      return one.has_value() == other.has_value() && (!one || sameJson(*one, *other));
    }
  }
  static std::size_t hash(const Value& value) {
    if constexpr (isText) {
      return value ? std::hash<std::string>()(*value) : 0;
    } else {
      return value ? hashOfJson(*value) : 0;
    }
  }

  /// Null is an answer, a value of another kind is none.
  template <typename Access>
  static void assign(Record& record, const json::value& value) {
    if (value.is_null()) return Access::write(record, std::nullopt);
    if (takes(value)) Access::write(record, fromJson(value));
  }
  /// What was made of the text is taken over.
  template <typename Access>
  static void assignView(Record& record, const JsonView& view) {
    if constexpr (isText) {
      if constexpr (requires { Access::property(record); }) {
        if (view.isText()) return setText(Access::property(record), view);
      }
      assign<Access>(record, view.value());
    } else {
      json::value value = view.value();
      if (value.is_null()) return Access::write(record, std::nullopt);
      if (takes(value)) Access::write(record, std::move(*containerIn(value)));
    }
  }
  /// Written from where it lies: the only copy is the one that goes out.
  template <typename Access>
  static void emit(const Record& record, std::string_view key, json::object& out) {
    Access::visit(record, [&](const Value& value) {
      if (value) out.emplace(key, toJson(*value));
    });
  }
  template <typename Access>
  static void encode(const Record& record, std::string_view name, KeyedArchive& archive) {
    Access::visit(record, [&](const Value& value) {
      if (value) archive.encode(name, toJson(*value));
    });
  }
  /// What the archive does not hold is absent.
  template <typename Access>
  static void decode(Record& record, const json::value* value) {
    Access::write(record, value != nullptr && takes(*value) ? fromJson(*value) : std::nullopt);
  }
};

template <>
struct FieldRules<OptionalString> : OptionalRules<std::string> {};
template <>
struct FieldRules<std::optional<json::object>> : OptionalRules<json::object> {};
template <>
struct FieldRules<std::optional<json::array>> : OptionalRules<json::array> {};

/// Nested records. The outer record shares them: whoever has read the field holds the same record.
template <std::derived_from<Record> Nested>
struct FieldRules<std::shared_ptr<Nested>> {
  using Value = std::shared_ptr<Nested>;

  /// A record that is there stays the same one, with what the dictionary brings; else there is a new one.
  template <typename Access>
  static void assign(Record& record, const json::value& value) {
    if (value.is_null()) return Access::write(record, nullptr);
    if (!value.is_object()) return;
    if (const Value present = Access::read(record)) {
      present->merge(value.get_object());
    } else {
      Access::write(record, makeRecord<Nested>(value.get_object()));
    }
  }
  template <typename Access>
  static void assignView(Record& record, const JsonView& value) {
    assign<Access>(record, value.value());
  }
  /// A dictionary within the dictionary.
  template <typename Access>
  static void emit(const Record& record, std::string_view key, json::object& out) {
    if (const Value nested = Access::read(record)) out.emplace(key, nested->jsonObject());
  }
  /// By the equality of the nested class, which may know no other record than itself.
  static bool same(const Value& one, const Value& other) {
    return one == other || (one != nullptr && one->isEqual(other.get()));
  }
  static std::size_t hash(const Value& value) { return value != nullptr ? value->hash() : 0; }
  /// An archive within the archive, where the nested class can be archived.
  template <typename Access>
  static void encode(const Record& record, std::string_view name, KeyedArchive& archive) {
    const Value nested = Access::read(record);
    if (nested == nullptr || !nested->isArchivable()) return;
    KeyedArchive inner;
    nested->encodeWithCoder(inner);
    archive.encode(name, inner.values());
  }
  /// A new record, if the nested class has an `initWithCoder` that makes one; absent otherwise.
  template <typename Access>
  static void decode(Record& record, const json::value* value) {
    if constexpr (requires(const KeyedArchive& archive) { Nested::initWithCoder(archive); }) {
      Access::write(record, value != nullptr && value->is_object()
                                ? Nested::initWithCoder(KeyedArchive(value->get_object()))
                                : nullptr);
    } else {
      Access::write(record, nullptr);
    }
  }
};

/// The entry of the table: the rules of the field's type, applied to the field.
template <typename Access>
RecordField makeField(std::string_view name, std::vector<std::string_view> keys) {
  using Rules = FieldRules<typename Access::Value>;
  if (keys.empty()) keys.push_back(name);
  return {name,
          std::move(keys),
          &Rules::template assign<Access>,
          &Rules::template assignView<Access>,
          &Rules::template emit<Access>,
          [](const Record& one, const Record& other) {
            return Rules::same(Access::read(one), Access::read(other));
          },
          [](const Record& record) { return Rules::hash(Access::read(record)); },
          [](const Record& from, Record& to) { Access::write(to, Access::read(from)); },
          &Rules::template encode<Access>,
          [](Record& record, std::string_view field, const KeyedArchive& archive) {
            Rules::template decode<Access>(record, archive.find(field));
          }};
}

}  // namespace detail

/// The field that is the property `Member`. Its JSON key is its own name unless keys are given: then these are looked
/// for, in their order, and the first is the one that is written. The name by itself is no key then, unless it is in
/// the list. Name and keys must live as long as the program: literals do.
/// @param name what archives call the field; also its key, when `keys` is empty
/// @param keys those that are looked for, with the one that is written in front
template <auto Member>
RecordField recordField(std::string_view name, std::vector<std::string_view> keys = {}) {
  return detail::makeField<detail::MemberAccess<Member>>(name, std::move(keys));
}

/// The field that is read by `Getter` and written by `Setter`, member functions of the record. The JSON form, copies,
/// archives, equality and hash go by what `Getter` answers. Its JSON key is its name, which must live as long as the
/// program.
template <auto Getter, auto Setter>
RecordField recordAccessor(std::string_view name) {
  return detail::makeField<detail::AccessorAccess<Getter, Setter>>(name, {});
}

}  // namespace orv
