#pragma once

#include <orvnetwork/data/Export.h>

namespace orv::qt {

/// Has Qt's loop run the library's main queue: one call, after the application object and before the `Client`.
///
///     QCoreApplication app(argc, argv);
///     orv::qt::attachMainQueue();
///     auto client = orv::Client::start(options);
///     return app.exec();
///
/// From then on what waits on the main queue runs wherever Qt's events are handled: in `exec`, in a nested `QEventLoop`, in
/// a dialogue that is open, `processEvents` included. A callback of the library may open such a loop and stay in it for as
/// long as it likes; the library's other callbacks run there meanwhile. It may quit the loop, and the application.
///
/// It ends with the application object, or by `detachMainQueue`. What waits then stays on the main queue; another
/// application object can be attached later.
/// @return whether it is attached, now or already. False without an application object, and on another thread than the
///   application's; nothing has changed then
ORV_EXPORT bool attachMainQueue();

/// Ends what `attachMainQueue` has begun: Qt's loop runs nothing of the library's any more. Does nothing where nothing is
/// attached. On the application's thread, from inside a callback of the library too.
ORV_EXPORT void detachMainQueue();

}  // namespace orv::qt
