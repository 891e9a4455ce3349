#pragma once

#include <orvnetwork/data/Result.h>
#include <orvnetwork/platform/TlsSettings.h>
#include <orvnetwork/platform/native/tls/TlsContext.h>

#include <memory>

namespace orv {

/// Contexts that are kept, beside the one of the settings as they are made.
inline constexpr std::size_t kMostTlsContexts = 8;

/// The context for these settings, the one that was made before if they and the files that they name have not changed.
/// `TlsSettings::resumes` makes no difference here. Other settings than those of the call before drop all tickets of
/// those. Waits for the disk where files are named. Belongs to the network thread.
Result<std::shared_ptr<const TlsContext>> tlsContextFor(const TlsSettings& settings);

}  // namespace orv
