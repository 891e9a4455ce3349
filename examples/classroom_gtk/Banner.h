#pragma once

#include "Ref.h"
#include "Signals.h"

#include <gtk/gtk.h>
#include <orvnetwork_glib/Link.h>

namespace classroom_gtk {

/// Says that there is no connection, why, and what is being done about it. A loss of less than a second is not worth a word.
class Banner {
 public:
  explicit Banner(OrvLink* link);
  ~Banner();
  Banner(const Banner&) = delete;
  Banner& operator=(const Banner&) = delete;

  GtkWidget* widget() const { return bar_.get(); }

 private:
  void follow();

  OrvLink* const link_;
  const Ref<GtkWidget> tryNow_, bar_;
  guint patience_ = 0;
  Signals signals_;
};

}  // namespace classroom_gtk
