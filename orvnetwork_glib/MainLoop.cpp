#include "orvnetwork_glib/MainLoop.h"

#include <orvnetwork/platform/MainQueue.h>

namespace orv::glib {

namespace {

/// What one turn has not done waits behind redrawing, which GTK does at `G_PRIORITY_HIGH_IDLE + 20`.
constexpr int kBehindRedrawing = G_PRIORITY_DEFAULT_IDLE;

/// A source that is ready when tasks wait. It keeps no state between two looks of the loop but this one: while a task runs
/// the queue signals nobody, so a loop that the task runs has to look once.
struct MainQueueSource {
  GSource source;
  gpointer tag;
  bool isLookedAtInside;
};

bool isSignalled() {
  GPollFD descriptor{MainQueue::instance().wakeUpDescriptor(), G_IO_IN, 0};
  return g_poll(&descriptor, 1, 0) == 1;
}

gboolean prepare(GSource* source, int* timeout) {
  *timeout = -1;
  return reinterpret_cast<MainQueueSource*>(source)->isLookedAtInside ? TRUE : FALSE;
}

gboolean check(GSource* source) {
  const auto* const own = reinterpret_cast<MainQueueSource*>(source);
  if (own->isLookedAtInside) return TRUE;
  return (g_source_query_unix_fd(source, own->tag) & G_IO_IN) != 0 ? TRUE : FALSE;
}

gboolean dispatch(GSource* source, GSourceFunc, gpointer) {
  auto* const own = reinterpret_cast<MainQueueSource*>(source);
  own->isLookedAtInside = true;
  MainQueue::instance().drain();
  own->isLookedAtInside = false;
  if (!g_source_is_destroyed(source)) {
    const int priority = isSignalled() ? kBehindRedrawing : G_PRIORITY_DEFAULT;
    if (priority != g_source_get_priority(source)) g_source_set_priority(source, priority);
  }
  return G_SOURCE_CONTINUE;
}

GSource* newSource() {
  static GSourceFuncs functions{prepare, check, dispatch, nullptr, nullptr, nullptr};
  GSource* const source = g_source_new(&functions, sizeof(MainQueueSource));
  auto* const own = reinterpret_cast<MainQueueSource*>(source);
  own->tag = g_source_add_unix_fd(source, MainQueue::instance().wakeUpDescriptor(), G_IO_IN);
  own->isLookedAtInside = false;
  g_source_set_name(source, "OrvNetwork main queue");
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  // A loop inside a task is served too.
  g_source_set_can_recurse(source, TRUE);
  return source;
}

GSource* currentSource = nullptr;

}  // namespace

bool attachMainQueue(GMainContext* context) {
  MainQueue::instance().claim();
  if (!MainQueue::instance().isCurrent()) return false;
  GMainContext* const own =
      context != nullptr ? g_main_context_ref(context) : g_main_context_ref_thread_default();
  if (currentSource == nullptr) {
    currentSource = newSource();
    g_source_attach(currentSource, own);
  }
  const bool isThere = g_source_get_context(currentSource) == own;
  g_main_context_unref(own);
  return isThere;
}

void detachMainQueue() {
  if (currentSource == nullptr) return;
  g_source_destroy(currentSource);
  g_source_unref(currentSource);
  currentSource = nullptr;
}

}  // namespace orv::glib
