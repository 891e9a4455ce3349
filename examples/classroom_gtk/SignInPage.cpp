#include "SignInPage.h"

#include <orvnetwork/client/SessionInfo.h>

#include "Widgets.h"

#include <string>

namespace classroom_gtk {

namespace {

GtkWidget* named(GtkWidget* widget, const char* name) {
  gtk_widget_set_name(widget, name);
  return widget;
}

}  // namespace

SignInPage::SignInPage(OrvSession* session)
    : session_(session),
      page_(own(makeBox(GTK_ORIENTATION_VERTICAL, 10, 32))),
      why_(own(makeLabel("", "dim-label", "why"))),
      mobile_(own(named(gtk_entry_new(), "mobile"))),
      password_(own(named(gtk_password_entry_new(), "password"))),
      error_(own(makeLabel("", "error", "error"))),
      signIn_(own(makeButton("Sign in", "signIn"))),
      leaving_(g_cancellable_new()),
      self_(std::make_shared<SignInPage*>(this)) {
  gtk_widget_set_size_request(page_.get(), 340, -1);
  gtk_widget_set_halign(page_.get(), GTK_ALIGN_CENTER);
  gtk_widget_set_valign(page_.get(), GTK_ALIGN_CENTER);
  gtk_entry_set_placeholder_text(GTK_ENTRY(mobile_.get()), "Mobile number");
  g_object_set(password_.get(), "placeholder-text", "Password", "show-peek-icon", TRUE, nullptr);
  gtk_widget_add_css_class(signIn_.get(), "suggested-action");
  gtk_box_append(GTK_BOX(page_.get()), makeLabel("Classroom", "title-1", "heading"));
  for (const auto* widget : {&why_, &mobile_, &password_, &error_, &signIn_}) {
    gtk_box_append(GTK_BOX(page_.get()), widget->get());
  }
  complain("");
  signals_.on(mobile_.get(), "activate", [this] { gtk_widget_grab_focus(password_.get()); });
  signals_.on(password_.get(), "activate", [this] { submit(); });
  signals_.on(signIn_.get(), "clicked", [this] { submit(); });
  signals_.on(session_, "notify::state", [this] { follow(); });
  follow();
}

SignInPage::~SignInPage() {
  g_cancellable_cancel(leaving_.get());
}

void SignInPage::follow() {
  const orv::SessionInfo info = orv::glib::infoOf(session_);
  std::string why = "Sign in to see your courses.";
  if (info.state == orv::SessionState::TakenOver) {
    why = "You were signed out by another device. Sign in again to go on here.";
  } else if (info.state == orv::SessionState::Refused) {
    why = "The session is over: " + info.reason;
  }
  gtk_label_set_text(GTK_LABEL(why_.get()), why.c_str());
}

void SignInPage::submit() {
  if (gtk_widget_get_sensitive(signIn_.get()) == FALSE) return;
  const std::string mobile = gtk_editable_get_text(GTK_EDITABLE(mobile_.get()));
  const std::string password = gtk_editable_get_text(GTK_EDITABLE(password_.get()));
  if (mobile.empty() || password.empty()) {
    return complain("Both the mobile number and the password are needed.");
  }
  complain("");
  gtk_widget_set_sensitive(signIn_.get(), FALSE);
  using Page = std::weak_ptr<SignInPage*>;
  orv_session_sign_in_async(
      session_, mobile.c_str(), password.c_str(), leaving_.get(),
      [](GObject* source, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Page> page(static_cast<Page*>(data));
        g_autoptr(GError) error = nullptr;
        orv_session_sign_in_finish(ORV_SESSION(source), result, &error);
        if (const auto self = page->lock()) (*self)->ended(error);
      },
      new Page(self_));
}

void SignInPage::ended(const GError* error) {
  gtk_widget_set_sensitive(signIn_.get(), TRUE);
  if (error == nullptr) return gtk_editable_set_text(GTK_EDITABLE(password_.get()), "");
  if (g_error_matches(error, ORV_SESSION_ERROR, ORV_SESSION_ERROR_REFUSED) != FALSE) {
    return complain((std::string("The server says: ") + error->message).c_str());
  }
  complain((std::string("That did not work: ") + error->message).c_str());
}

void SignInPage::complain(const char* text) {
  gtk_label_set_text(GTK_LABEL(error_.get()), text);
  gtk_widget_set_visible(error_.get(), *text != '\0' ? TRUE : FALSE);
}

}  // namespace classroom_gtk
