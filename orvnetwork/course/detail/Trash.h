#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Executor.h>

namespace orv {

/// Takes away what may be large: renamed into the folder `trash` it is gone from its place at once, however many files
/// there are in it, and a worker removes it. Where it cannot be renamed it is removed before this returns. A process that
/// ends before the worker leaves it in the trash, hidden.
void throwAway(const OptionalString& path, const OptionalString& trash, Executor& workers);

/// Removes what others have left in a trash.
void emptyTrash(const OptionalString& trash);

}  // namespace orv
