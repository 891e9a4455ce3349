#pragma once

#include "Ref.h"
#include "Signals.h"

#include <gtk/gtk.h>
#include <orvnetwork_glib/Session.h>

#include <memory>

namespace classroom_gtk {

/// Where a person signs in.
class SignInPage {
 public:
  explicit SignInPage(OrvSession* session);
  /// Gives a sign-in up that is under way.
  ~SignInPage();
  SignInPage(const SignInPage&) = delete;
  SignInPage& operator=(const SignInPage&) = delete;

  GtkWidget* widget() const { return page_.get(); }

 private:
  void submit();
  void ended(const GError* error);
  void complain(const char* text);
  void follow();

  OrvSession* const session_;
  const Ref<GtkWidget> page_, why_, mobile_, password_, error_, signIn_;
  const Ref<GCancellable> leaving_;
  /// What a sign-in holds that is under way: it may end after the page has.
  const std::shared_ptr<SignInPage*> self_;
  Signals signals_;
};

}  // namespace classroom_gtk
