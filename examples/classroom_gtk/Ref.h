#pragma once

#include <gtk/gtk.h>

#include <memory>

namespace classroom_gtk {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
/// A reference to an object that ends with its scope.
template <typename Object>
using Ref = std::unique_ptr<Object, Unref>;

/// A reference to a widget that was just made, or that others have as well.
inline Ref<GtkWidget> own(GtkWidget* widget) {
  return Ref<GtkWidget>(GTK_WIDGET(g_object_ref_sink(widget)));
}

}  // namespace classroom_gtk
