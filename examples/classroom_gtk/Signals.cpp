#include "Signals.h"

namespace classroom_gtk {

namespace {

using Task = std::function<void()>;

void run(gpointer task) {
  (*static_cast<Task*>(task))();
}

void forget(gpointer task, GClosure*) {
  delete static_cast<Task*>(task);
}

}  // namespace

Signals::~Signals() {
  for (const auto& [object, handler] : heard_) {
    // A widget that was closed has let its handlers go already.
    if (g_signal_handler_is_connected(object, handler) != FALSE) g_signal_handler_disconnect(object, handler);
    g_object_unref(object);
  }
}

void Signals::on(gpointer object, const char* signal, std::function<void()> what) {
  // Swapped, so that the task comes first whatever else the signal brings along.
  const gulong handler = g_signal_connect_data(object, signal, G_CALLBACK(run), new Task(std::move(what)),
                                               forget, G_CONNECT_SWAPPED);
  heard_.emplace_back(G_OBJECT(g_object_ref(object)), handler);
}

}  // namespace classroom_gtk
