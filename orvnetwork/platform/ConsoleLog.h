#pragma once

#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/platform/Console.h>

namespace orv {

/// Writes one formatted line to the console, on the calling thread, as `Console::write` does. Never throws; where
/// the line cannot be made, the format alone is written. Any thread.
/// @param format the text with its slots (`%@`, `%ld` …), as `TextFormat.h` tells; their number and kinds are
/// checked when this is compiled
/// @param args what goes into the slots, in their order
///
///     consoleLog("%@ could not be read: %@", path, error);
///     consoleLog("%ld of %ld courses", count, total);
template <typename... Args>
void consoleLog(FormatText<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
  try {
    Console::write(formatText<Args...>(format, args...));
  } catch (...) {
    // Out of memory, or an argument that cannot describe itself: a diagnostic is not worth more.
    Console::write(format.text());
  }
}

}  // namespace orv
