#pragma once

#include <orvnetwork/orvnetwork.h>

#include <gtk/gtk.h>
#include <orvnetwork_glib/orvnetwork_glib.h>

#include <memory>

/// What the pieces of code for hosts on GTK take for granted.
namespace snippet {

void activate(GtkApplication* app, orv::Client* client);
void show_error(gpointer form, const char* text);

/// An application, one of whose member functions a piece may be.
struct Application {
  int argc = 0;
  char** argv = nullptr;
  orv::ClientOptions options;
  std::unique_ptr<orv::Client> client;
  GtkApplication* app = nullptr;
  GtkListItemFactory* factory = nullptr;
  GtkWidget* label = nullptr;
  GtkWidget* banner = nullptr;
  GCancellable* cancellable = nullptr;
  gpointer form = nullptr;
  const char* mobile = nullptr;
  const char* password = nullptr;
};

}  // namespace snippet

using snippet::activate;
using snippet::show_error;
