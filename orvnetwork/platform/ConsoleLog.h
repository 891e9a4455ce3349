#pragma once

#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/platform/Console.h>

namespace orv {

/// Writes one formatted line to the console; see `TextFormat.h` for the slots. Never throws. Any thread.
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
