#include "orvnetwork/client/MainThread.h"

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>

#include <cstdlib>
#include <string>

namespace orv::detail {

void expectMainThread([[maybe_unused]] const char* what) noexcept {
  auto& main = MainQueue::instance();
  if (main.isCurrent()) return;
  main.claim();
#ifndef NDEBUG
  if (main.isCurrent()) return;
  Console::write(std::string(what) + " was used on a thread that is not the main thread");
  std::abort();
#endif
}

}  // namespace orv::detail
