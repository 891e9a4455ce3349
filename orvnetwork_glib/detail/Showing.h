#pragma once

#include <orvnetwork/client/Subscription.h>

#include <glib-object.h>
#include <orvnetwork_glib/detail/Properties.h>

#include <array>
#include <cstddef>
#include <utility>

namespace orv::glib::detail {

/// What an object shows of a part of the client: how that part stands, and the object told when it stands otherwise.
template <typename Part, typename Record>
struct Watch {
  template <std::size_t Count>
  Watch(GObject* object, Part& watched, Record first, const std::array<PropertyOf<Record>, Count>& properties)
      : part(watched), now(std::move(first)) {
    changed = part.onChanged([this, object, &properties](const auto& change) {
      const Record before = std::exchange(now, change.now);
      // Last: whoever is notified may let the object go, and this with it.
      notifyOfChanges(object, properties, before, change.now);
    });
  }

  Part& part;
  Record now;
  Subscription changed;
};

/// The beginning of an object that shows a part of the client.
template <typename PartOf, typename RecordOf>
struct Showing {
  using Part = PartOf;
  using Record = RecordOf;

  GObject parent;
  Watch<Part, Record>* watch;  // null until there is a client, and again when the object is let go

  Record record() const { return watch != nullptr ? watch->now : Record{}; }
};

/// Makes a class of objects that begin so: they have the properties, and hear nothing any more once they are let go.
template <typename Object, const auto& Properties>
void showProperties(GObjectClass* type) {
  type->dispose = [](GObject* object) {
    delete std::exchange(reinterpret_cast<Object*>(object)->watch, nullptr);
    static_cast<GObjectClass*>(g_type_class_peek(G_TYPE_OBJECT))->dispose(object);
  };
  type->get_property = [](GObject* object, guint number, GValue* value, GParamSpec*) {
    Properties.at(number - 1).read(reinterpret_cast<Object*>(object)->record(), value);
  };
  installProperties(type, Properties);
}

/// Makes an object of such a class.
/// @return with one reference, the caller's
template <typename Object, const auto& Properties>
Object* newShowing(GType type, typename Object::Part& part, typename Object::Record first) {
  auto* const object = G_OBJECT(g_object_new(type, nullptr));
  auto* const self = reinterpret_cast<Object*>(object);
  self->watch =
      new Watch<typename Object::Part, typename Object::Record>(object, part, std::move(first), Properties);
  return self;
}

}  // namespace orv::glib::detail
