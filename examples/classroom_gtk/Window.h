#pragma once

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/PendingCallback.h>

#include "Banner.h"
#include "CourseView.h"
#include "Ref.h"
#include "SignInPage.h"
#include "Signals.h"

#include <gtk/gtk.h>
#include <orvnetwork_glib/Link.h>
#include <orvnetwork_glib/Session.h>

#include <array>
#include <memory>

namespace classroom_gtk {

/// The window: signed out it is a form, signed in three pages of courses. All that it shows it has from the library. It goes
/// before the client does.
class Window {
 public:
  explicit Window(orv::Client& client);
  /// Closes it.
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  GtkWindow* widget() const { return GTK_WINDOW(window_.get()); }

 private:
  GtkWidget* makeLive();
  void makeOtherDevice();
  void makeHeader(GtkStack* places);
  void refresh();
  void signOut();
  void follow();

  const Ref<OrvLink> link_;
  const Ref<OrvSession> session_;
  const Ref<GtkWidget> window_, pages_, header_;
  Ref<GtkWidget> other_;
  Banner banner_;
  SignInPage form_;
  CourseView recorded_;
  std::array<std::unique_ptr<CourseView>, 3> live_;
  CourseView local_;
  orv::PendingCallback loggingOthersOut_;
  Signals signals_;
};

}  // namespace classroom_gtk
