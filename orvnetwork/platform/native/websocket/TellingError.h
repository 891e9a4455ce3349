#pragma once

#include <orvnetwork/data/Error.h>

#include <optional>

namespace orv {

/// Of two errors that a host's addresses, or the look-ups of its name, have come to, keeps the one that says more of
/// why there is no connection; of equal ones the first.
void keepMoreTelling(std::optional<Error>& kept, Error error);

/// The error of a connection that did not get as far as to a network.
bool saysLittle(const Error& error);

/// The error of a look-up that may come out otherwise another time.
bool isTemporary(const Error& error);

/// A look-up's error: there is no such name, or no address of it.
Error noAddress();

}  // namespace orv
