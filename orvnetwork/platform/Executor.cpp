#include "orvnetwork/platform/Executor.h"

#include <orvnetwork/platform/ConsoleLog.h>

namespace orv {

void reportException(const char* where) noexcept {
  try {
    throw;
  } catch (const std::exception& exception) {
    consoleLog("%s: %s", where, exception.what());
  } catch (...) {
    consoleLog("%s: unknown exception", where);
  }
}

}  // namespace orv
