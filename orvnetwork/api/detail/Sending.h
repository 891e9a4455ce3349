#pragma once

#include <orvnetwork/api/detail/Values.h>
#include <orvnetwork/support/QXDate.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <string_view>

namespace orv {

/// Frames a command of the catalogue and hands it to the link. Absent values: the frame has no "v".
void sendCommand(std::string_view command, std::optional<json::object> values, CompleteBlock completeBlock,
                 TimeoutBlock timeoutBlock);

/// The client installation's identifier, for the member "guid".
Object deviceGuid();

/// Version and build of the application joined by a point, for the member "version": those of the main bundle,
/// else those that the link was given.
std::string applicationVersion();

/// A moment as "2024-01-31 08:45" in the time zone in use, whatever the locale.
std::string minuteText(std::uint64_t secondsSince1970);
/// A moment as "2024-01-31 08:45:02" likewise.
std::string secondText(const QXDate& moment);

}  // namespace orv
