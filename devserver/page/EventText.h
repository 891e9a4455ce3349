#pragma once

#include "devserver/page/PassedFrame.h"

#include <string>

namespace orv::devserver {

/// The frame as the stream of events carries it: one line of JSON, secrets hidden, valid UTF-8. See
/// docs/devserver.md for its members.
std::string eventText(const PassedFrame& frame);

}  // namespace orv::devserver
