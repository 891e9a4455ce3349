#include "orvnetwork/platform/HomeFolder.h"

#include <mutex>
#include <utility>

namespace orv {

namespace {

struct Choice {
  std::mutex mutex;
  OptionalString path;
};

Choice& choice() {
  static Choice& made = *new Choice;
  return made;
}

}  // namespace

OptionalString HomeFolder::chosen() {
  const std::lock_guard lock(choice().mutex);
  return choice().path;
}

void HomeFolder::choose(OptionalString path) {
  const std::lock_guard lock(choice().mutex);
  choice().path = std::move(path);
}

}  // namespace orv
