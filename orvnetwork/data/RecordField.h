#pragma once

#include <orvnetwork/data/JsonEquality.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/RecordMapping.h>
#include <orvnetwork/data/RecordNumber.h>

#include <cmath>
#include <limits>

/// The making of field tables. A record's own source includes this; nobody else needs it.
namespace orv {

namespace detail {

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

/// A field that is a property.
template <auto Member>
struct MemberAccess {
  using Owner = typename MemberParts<decltype(Member)>::Owner;
  using Value = typename MemberParts<decltype(Member)>::Type;
  static Value read(const Record& record) { return (static_cast<const Owner&>(record).*Member).get(); }
  static void write(Record& record, Value value) {
    (static_cast<Owner&>(record).*Member).set(std::move(value));
  }
  template <typename Reader>
  static decltype(auto) visit(const Record& record, Reader&& reader) {
    return (static_cast<const Owner&>(record).*Member).visit(std::forward<Reader>(reader));
  }
};

/// A field with a rule for its reading.
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

/// What fields of a type do; one specialisation a kind of field.
template <typename Value>
struct FieldRules;

template <typename Number>
requires std::is_arithmetic_v<Number>
struct FieldRules<Number> {
  template <typename Access>
  static void assign(Record& record, const json::value& value) {
    Access::write(record, RecordNumber(value).as<Number>());
  }
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
  static bool isWritable(Number number) {
    if constexpr (std::floating_point<Number>) return std::isfinite(number);
    return true;
  }
  template <typename Access>
  static void emit(const Record& record, std::string_view key, json::object& out) {
    const Number number = Access::read(record);
    if (isWritable(number)) out.emplace(key, toJson(number));
  }
  static bool same(Number one, Number other) { return one == other || (one != one && other != other); }
  static std::size_t hash(Number number) { return number == number ? std::hash<Number>()(number) : 1; }
  template <typename Access>
  static void encode(const Record& record, std::string_view name, KeyedArchive& archive) {
    archive.encode(name, toJson(Access::read(record)));
  }
  template <typename Access>
  static void decode(Record& record, const json::value* value) {
    if (value != nullptr && (value->is_number() || value->is_bool())) assign<Access>(record, *value);
  }
};

/// Texts, dictionaries and arrays: taken over or made absent; other kinds are ignored.
template <typename Stored>
struct OptionalRules {
  using Value = std::optional<Stored>;
  static bool same(const Value& one, const Value& other);
  static std::size_t hash(const Value& value);
  static Value fromJson(const json::value& value);
  static json::value toJson(const std::string& text) { return json::value(json::string_view(text)); }
  template <typename Container>
  static json::value toJson(const Container& container) {
    return container;
  }
  static bool takes(const json::value& value);

  template <typename Access>
  static void assign(Record& record, const json::value& value) {
    if (value.is_null()) return Access::write(record, std::nullopt);
    if (takes(value)) Access::write(record, fromJson(value));
  }
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
  template <typename Access>
  static void decode(Record& record, const json::value* value) {
    Access::write(record, value != nullptr && takes(*value) ? fromJson(*value) : std::nullopt);
  }
};

template <>
inline bool OptionalRules<std::string>::same(const Value& one, const Value& other) {
  return one == other;
}
template <>
inline std::size_t OptionalRules<std::string>::hash(const Value& value) {
  return value ? std::hash<std::string>()(*value) : 0;
}
template <>
inline bool OptionalRules<std::string>::takes(const json::value& value) {
  return value.is_string() || value.is_number() || value.is_bool();
}
template <>
inline OptionalString OptionalRules<std::string>::fromJson(const json::value& value) {
  if (const json::string* const text = value.if_string()) return std::string(text->data(), text->size());
  return textOfNumber(value);
}

template <>
inline bool OptionalRules<json::object>::same(const Value& one, const Value& other) {
  return one.has_value() == other.has_value() && (!one || sameJson(*one, *other));
}
template <>
inline std::size_t OptionalRules<json::object>::hash(const Value& value) {
  return value ? hashOfJson(*value) : 0;
}
template <>
inline bool OptionalRules<json::object>::takes(const json::value& value) {
  return value.is_object();
}
// The copies are made in storage of their own, not in that of the frame that they came in.
template <>
inline std::optional<json::object> OptionalRules<json::object>::fromJson(const json::value& value) {
  return json::object(value.get_object(), json::storage_ptr());
}

template <>
inline bool OptionalRules<json::array>::same(const Value& one, const Value& other) {
  return one.has_value() == other.has_value() && (!one || sameJson(*one, *other));
}
template <>
inline std::size_t OptionalRules<json::array>::hash(const Value& value) {
  return value ? hashOfJson(*value) : 0;
}
template <>
inline bool OptionalRules<json::array>::takes(const json::value& value) {
  return value.is_array();
}
template <>
inline std::optional<json::array> OptionalRules<json::array>::fromJson(const json::value& value) {
  return json::array(value.get_array(), json::storage_ptr());
}

template <>
struct FieldRules<OptionalString> : OptionalRules<std::string> {};
template <>
struct FieldRules<std::optional<json::object>> : OptionalRules<json::object> {};
template <>
struct FieldRules<std::optional<json::array>> : OptionalRules<json::array> {};

/// Nested records.
template <std::derived_from<Record> Nested>
struct FieldRules<std::shared_ptr<Nested>> {
  using Value = std::shared_ptr<Nested>;

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
  static void emit(const Record& record, std::string_view key, json::object& out) {
    if (const Value nested = Access::read(record)) out.emplace(key, nested->jsonObject());
  }
  static bool same(const Value& one, const Value& other) {
    return one == other || (one != nullptr && one->isEqual(other.get()));
  }
  static std::size_t hash(const Value& value) { return value != nullptr ? value->hash() : 0; }
  template <typename Access>
  static void encode(const Record& record, std::string_view name, KeyedArchive& archive) {
    const Value nested = Access::read(record);
    if (nested == nullptr || !nested->isArchivable()) return;
    KeyedArchive inner;
    nested->encodeWithCoder(inner);
    archive.encode(name, inner.values());
  }
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

template <typename Access>
RecordField makeField(std::string_view name, std::vector<std::string_view> keys) {
  using Rules = FieldRules<typename Access::Value>;
  if (keys.empty()) keys.push_back(name);
  return {name,
          std::move(keys),
          &Rules::template assign<Access>,
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

/// The field that is the property `Member`. Its JSON key is its own name unless keys are given.
template <auto Member>
RecordField recordField(std::string_view name, std::vector<std::string_view> keys = {}) {
  return detail::makeField<detail::MemberAccess<Member>>(name, std::move(keys));
}

/// The field that is read by `Getter` and written by `Setter`.
template <auto Getter, auto Setter>
RecordField recordAccessor(std::string_view name) {
  return detail::makeField<detail::AccessorAccess<Getter, Setter>>(name, {});
}

}  // namespace orv
