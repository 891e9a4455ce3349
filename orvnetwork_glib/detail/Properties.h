#pragma once

#include <orvnetwork/data/Types.h>

#include <glib-object.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orv::glib::detail {

/// A property of a GObject that only shows what a record of ours says.
template <typename Record>
struct PropertyOf {
  const char* name;
  GType (*type)();
  void (*read)(const Record& record, GValue* value);
};

inline GType textType() {
  return G_TYPE_STRING;
}
inline GType flagType() {
  return G_TYPE_BOOLEAN;
}
inline GType countType() {
  return G_TYPE_UINT;
}
inline GType numberType() {
  return G_TYPE_INT64;
}
inline GType amountType() {
  return G_TYPE_DOUBLE;
}

/// The library's texts are UTF-8; bytes that are not, and U+0000, become the replacement character.
void setText(GValue* value, std::string_view text);
/// An absent text is null.
void setText(GValue* value, const OptionalString& text);
/// A moment in local time; null for 0 and less, by which the server says that there is none.
/// @param seconds since 1970
void setMoment(GValue* value, std::int64_t seconds);
/// When a moment of the steady clock is or was, by the wall clock as it goes now.
void setMoment(GValue* value, SteadyTime time);

/// Texts, numbers, flags, moments and words of an enumeration.
bool isSame(const GValue& one, const GValue& other);

GParamSpec* readOnly(const char* name, GType type);

/// A `GValue` of a property that ends with its scope.
class Value {
 public:
  template <typename Record>
  Value(const PropertyOf<Record>& property, const Record& record) {
    g_value_init(&value_, property.type());
    property.read(record, &value_);
  }
  ~Value() { g_value_unset(&value_); }
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;
  bool operator==(const Value& other) const { return isSame(value_, other.value_); }

 private:
  GValue value_ = G_VALUE_INIT;
};

/// Gives a class its properties; the first one has the number 1.
template <typename Record, std::size_t Count>
void installProperties(gpointer type, const std::array<PropertyOf<Record>, Count>& properties) {
  guint number = 0;
  for (const auto& property : properties) {
    g_object_class_install_property(G_OBJECT_CLASS(type), ++number, readOnly(property.name, property.type()));
  }
}

/// Tells of the properties that are others than before. The object may be gone afterwards, unless somebody holds it.
template <typename Record, std::size_t Count>
void notifyOfChanges(GObject* object, const std::array<PropertyOf<Record>, Count>& properties,
                     const Record& before, const Record& now) {
  g_object_freeze_notify(object);
  for (const auto& property : properties) {
    if (!(Value(property, before) == Value(property, now))) g_object_notify(object, property.name);
  }
  g_object_thaw_notify(object);
}

}  // namespace orv::glib::detail
