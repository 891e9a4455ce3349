#pragma once

namespace orv::testing {

/// What survives when everything stops at once.
enum class Crash {
  Process,       ///< all that was written
  PowerCut,      ///< only what was flushed: durable writes and synchronized handles
  PowerCutTorn,  ///< names as they are, but of each file only the bytes that were flushed
};

}  // namespace orv::testing
