#pragma once

#include <orvnetwork/data/Export.h>

#include <glib.h>

/// What hosts on GLib and GTK add to the library: the main queue in GLib's loop, a `GListModel` of the lists of courses, and
/// GObjects with properties for what the front door tells. The headers are for C++; the objects are like any others, so
/// bindings, expressions and builder files take them by the names of their types and properties.
namespace orv::glib {

/// Has GLib's loop run the library's main queue: one call, before the `Client`.
///
///     orv::glib::attachMainQueue();
///     auto client = orv::Client::start(options);
///     return g_application_run(G_APPLICATION(app), argc, argv);
///
/// From then on what waits on the main queue runs wherever the context is iterated: in `g_main_loop_run`, in a loop inside a
/// callback, in a modal dialogue. A callback of the library may open such a loop and stay in it for as long as it likes; the
/// library's other callbacks run there meanwhile. It may quit the loop, and the program.
///
/// Work is done at the default priority. While more comes than one turn can do, it steps back behind redrawing, so that a
/// flood of messages does not freeze a window.
///
/// The calling thread becomes the main thread for good, and is the one that iterates the context.
/// @param context where to attach; null for the thread's own, which is the default one on an ordinary main thread
/// @return whether it is attached, now or already. False when it is attached to another context, or when another thread is
///   the main thread; nothing has changed then
ORV_EXPORT bool attachMainQueue(GMainContext* context = nullptr);

/// Ends what `attachMainQueue` has begun: GLib's loop runs nothing of the library's any more. What waits stays on the main
/// queue. Does nothing where nothing is attached. Main thread, from inside a callback of the library too.
ORV_EXPORT void detachMainQueue();

}  // namespace orv::glib
