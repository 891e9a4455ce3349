#pragma once

#include <orvnetwork/data/Export.h>

namespace orv::detail {

/// Says that `what` belongs to the main thread. The first thread that comes here is the main thread when none has been
/// named. On another thread a debug build tells the console and ends the program; a release build looks no further.
ORV_EXPORT void expectMainThread(const char* what) noexcept;

}  // namespace orv::detail
