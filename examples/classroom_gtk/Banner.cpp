#include "Banner.h"

#include "Widgets.h"

namespace classroom_gtk {

namespace {

GtkWidget* makeBanner(OrvLink* link, GtkWidget* tryNow) {
  GtkWidget* const sentence = makeLabel("", "", "sentence");
  g_object_bind_property(link, "sentence", sentence, "label", G_BINDING_SYNC_CREATE);
  return makeBar(sentence, tryNow, "banner");
}

}  // namespace

Banner::Banner(OrvLink* link)
    : link_(link), tryNow_(own(makeButton("Try now", "tryNow"))), bar_(own(makeBanner(link, tryNow_.get()))) {
  signals_.on(link_, "notify::up", [this] { follow(); });
  signals_.on(tryNow_.get(), "clicked", [this] { orv_link_try_now(link_); });
  follow();
}

Banner::~Banner() {
  g_clear_handle_id(&patience_, g_source_remove);
}

void Banner::follow() {
  gboolean isUp = FALSE;
  g_object_get(link_, "up", &isUp, nullptr);
  if (isUp != FALSE) {
    g_clear_handle_id(&patience_, g_source_remove);
    return gtk_widget_set_visible(bar_.get(), FALSE);
  }
  if (patience_ != 0) return;
  patience_ = g_timeout_add(
      1000,
      [](gpointer banner) -> gboolean {
        auto& self = *static_cast<Banner*>(banner);
        self.patience_ = 0;
        gtk_widget_set_visible(self.bar_.get(), TRUE);
        return G_SOURCE_REMOVE;
      },
      this);
}

}  // namespace classroom_gtk
