#pragma once

#include <orvnetwork/transport/QXRequestItem.h>

#include <optional>

namespace orv {

/// Frames a command and hands it to the link; every operation of the catalogue ends here. Any thread.
/// @param command the dotted command name; absent: the frame has no "c"
/// @param values the values dictionary; absent: the frame has no "v"
void sendCommand(OptionalString command, std::optional<json::object> values, CompleteBlock completeBlock,
                 TimeoutBlock timeoutBlock);

}  // namespace orv
