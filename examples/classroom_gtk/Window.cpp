#include "Window.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/SessionInfo.h>

#include "Widgets.h"

#include <cstdint>
#include <string>

namespace classroom_gtk {

namespace {

/// Shown while the person is signed in, and only then.
GtkWidget* makeHeaderPart(const char* name) {
  GtkWidget* const part = makeBox(GTK_ORIENTATION_HORIZONTAL, 6, 0);
  gtk_widget_set_name(part, name);
  return part;
}

}  // namespace

Window::Window(orv::Client& client)
    : link_(orv::glib::newLink(client)),
      session_(orv::glib::newSession(client)),
      window_(own(gtk_window_new())),
      pages_(own(gtk_stack_new())),
      header_(own(makeHeaderPart("header"))),
      banner_(link_.get()),
      form_(session_.get()),
      recorded_(orv::CourseList::recorded(), "recorded", "There is no recorded course yet."),
      local_(orv::CourseList::local(), "local", "There is no course on this device.") {
  GtkWidget* const places = gtk_stack_new();
  gtk_stack_add_titled(GTK_STACK(places), recorded_.widget(), "recorded", "Recorded");
  gtk_stack_add_titled(GTK_STACK(places), makeLive(), "live", "Live");
  gtk_stack_add_titled(GTK_STACK(places), local_.widget(), "local", "On this device");
  gtk_widget_set_name(places, "places");
  gtk_stack_add_named(GTK_STACK(pages_.get()), form_.widget(), "form");
  gtk_stack_add_named(GTK_STACK(pages_.get()), places, "school");
  GtkWidget* const column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_box_append(GTK_BOX(column), banner_.widget());
  makeOtherDevice();
  gtk_box_append(GTK_BOX(column), other_.get());
  gtk_box_append(GTK_BOX(column), pages_.get());

  auto* const window = GTK_WINDOW(window_.get());
  gtk_window_set_title(window, "Classroom");
  gtk_window_set_default_size(window, 760, 640);
  makeHeader(GTK_STACK(places));
  gtk_window_set_child(window, column);
  signals_.on(session_.get(), "notify", [this] { follow(); });
  follow();
}

Window::~Window() {
  gtk_window_destroy(GTK_WINDOW(window_.get()));
}

void Window::makeHeader(GtkStack* places) {
  GtkWidget* const bar = gtk_header_bar_new();
  GtkWidget* const switcher = gtk_stack_switcher_new();
  gtk_stack_switcher_set_stack(GTK_STACK_SWITCHER(switcher), places);
  GtkWidget* const refreshing = makeButton("Refresh", "refresh");
  GtkWidget* const leaving = makeButton("Sign out", "signOut");
  for (GtkWidget* const part : {switcher, refreshing, leaving}) {
    gtk_box_append(GTK_BOX(header_.get()), part);
  }
  gtk_header_bar_set_title_widget(GTK_HEADER_BAR(bar), header_.get());
  GtkWidget* const nick = makeLabel("", "heading", "nick");
  gtk_label_set_wrap(GTK_LABEL(nick), FALSE);
  g_object_bind_property(session_.get(), "nick", nick, "label", G_BINDING_SYNC_CREATE);
  gtk_header_bar_pack_end(GTK_HEADER_BAR(bar), nick);
  gtk_window_set_titlebar(GTK_WINDOW(window_.get()), bar);
  signals_.on(refreshing, "clicked", [this] { refresh(); });
  signals_.on(leaving, "clicked", [this] { signOut(); });
}

GtkWidget* Window::makeLive() {
  constexpr std::array kNames{"live1", "live2", "live3"};
  constexpr std::array kTitles{"To come", "On the air", "Over"};
  constexpr std::array kNothing{"No live course is planned.", "Nothing is on the air.",
                                "No live course is over yet."};
  GtkWidget* const stack = gtk_stack_new();
  gtk_widget_set_name(stack, "live");
  for (std::size_t i = 0; i < live_.size(); ++i) {
    const auto status = static_cast<std::uint64_t>(i) + 1;
    live_[i] = std::make_unique<CourseView>(orv::CourseList::live(status), kNames[i], kNothing[i]);
    gtk_stack_add_titled(GTK_STACK(stack), live_[i]->widget(), kNames[i], kTitles[i]);
  }
  GtkWidget* const switcher = gtk_stack_switcher_new();
  gtk_widget_set_halign(switcher, GTK_ALIGN_START);
  gtk_stack_switcher_set_stack(GTK_STACK_SWITCHER(switcher), GTK_STACK(stack));
  GtkWidget* const column = makeBox(GTK_ORIENTATION_VERTICAL, 6, 6);
  gtk_box_append(GTK_BOX(column), switcher);
  gtk_box_append(GTK_BOX(column), stack);
  return column;
}

void Window::makeOtherDevice() {
  GtkWidget* const button = makeButton("Sign out there", "logOthersOut");
  GtkWidget* const text = makeLabel("You are also signed in on another device.", "", "otherText");
  other_ = own(makeBar(text, button, "otherDevice"));
  g_object_bind_property(session_.get(), "other-device-logged-in", other_.get(), "visible",
                         G_BINDING_SYNC_CREATE);
  signals_.on(button, "clicked", [this] {
    if (loggingOthersOut_.isWaiting()) return;
    loggingOthersOut_ = orv::ask<&orv::QXAPIHelper::logoutOtherDeviceWithCompleteBlock_timeoutBlock>().then(
        [this](const orv::Reply& reply) {
          gtk_widget_set_visible(other_.get(), reply.succeeded() ? FALSE : TRUE);
        });
  });
}

void Window::refresh() {
  recorded_.refresh();
  for (const auto& view : live_) view->refresh();
  local_.refresh();
}

void Window::signOut() {
  orv_session_sign_out_async(session_.get(), nullptr, nullptr, nullptr);
}

/// A user who is stored sees their courses, without a link too.
void Window::follow() {
  const orv::SessionInfo info = orv::glib::infoOf(session_.get());
  const bool isSignedIn = info.user != nullptr && (info.state == orv::SessionState::Good ||
                                                   info.state == orv::SessionState::Restoring);
  gtk_stack_set_visible_child_name(GTK_STACK(pages_.get()), isSignedIn ? "school" : "form");
  gtk_widget_set_visible(header_.get(), isSignedIn ? TRUE : FALSE);
}

}  // namespace classroom_gtk
