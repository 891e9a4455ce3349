// A classroom on GTK 4: sign-in, recorded, live and local courses.
//
//   orv-classroom-gtk [--server URL] [--home FOLDER]

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/ClientOptions.h>

#include "Ref.h"
#include "Signals.h"
#include "Window.h"

#include <gtk/gtk.h>
#include <orvnetwork_glib/MainLoop.h>

#include <iostream>
#include <memory>

int main(int argc, char** argv) {
  using namespace classroom_gtk;
  g_autofree char* server = nullptr;
  g_autofree char* home = nullptr;
  const GOptionEntry entries[] = {
      {"server", 0, 0, G_OPTION_ARG_STRING, &server, "Address of the server", "URL"},
      {"home", 0, 0, G_OPTION_ARG_FILENAME, &home, "Where everything is kept", "FOLDER"},
      GOptionEntry{}};
  g_autoptr(GOptionContext) context = g_option_context_new(nullptr);
  g_option_context_add_main_entries(context, entries, nullptr);
  g_autoptr(GError) error = nullptr;
  if (g_option_context_parse(context, &argc, &argv, &error) == FALSE) {
    return std::cerr << error->message << '\n', 1;
  }

  orv::glib::attachMainQueue();
  orv::ClientOptions options;
  options.server = server != nullptr ? server : "wss://classroom.example.org/link";
  options.version = "1.0";
  options.build = "1";
  if (home != nullptr) options.home = home;
  const auto client = orv::Client::start(options);
  if (!client) return std::cerr << client.error().description << '\n', 1;

  const Ref<GtkApplication> application(
      gtk_application_new("org.orvnetwork.ClassroomGtk", G_APPLICATION_NON_UNIQUE));
  std::unique_ptr<Window> window;  // goes before the client
  Signals signals;
  signals.on(application.get(), "activate", [&] {
    window = std::make_unique<Window>(**client);
    gtk_application_add_window(application.get(), window->widget());
    gtk_window_present(window->widget());
  });
  return g_application_run(G_APPLICATION(application.get()), 0, nullptr);
}
