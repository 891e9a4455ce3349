#pragma once

#include <orvnetwork/api/Values.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <string_view>

namespace orv {

/// Frames a command of the catalogue and hands it to the link.
void sendCommand(std::string_view command, Values values, CompleteBlock completeBlock,
                 TimeoutBlock timeoutBlock);

/// The client installation's identifier, for the member "guid".
Object deviceGuid();

}  // namespace orv
