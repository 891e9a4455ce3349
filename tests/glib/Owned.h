#pragma once

#include <glib-object.h>

#include <memory>
#include <string>

namespace orv {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
/// A reference to a GObject that ends with its scope.
template <typename Object>
using Owned = std::unique_ptr<Object, Unref>;

/// A property by its name: of texts the text, "(null)" where there is none.
inline std::string textOf(gpointer object, const char* property) {
  char* text = nullptr;
  g_object_get(object, property, &text, nullptr);
  const std::string copy = text != nullptr ? text : "(null)";
  g_free(text);
  return copy;
}
inline bool flagOf(gpointer object, const char* property) {
  gboolean flag = FALSE;
  g_object_get(object, property, &flag, nullptr);
  return flag != FALSE;
}
inline int wordOf(gpointer object, const char* property) {
  int word = -1;
  g_object_get(object, property, &word, nullptr);
  return word;
}

}  // namespace orv
