#include "orvnetwork/client/PendingEnd.h"

namespace orv {

std::string_view textOf(PendingEnd end) noexcept {
  switch (end) {
    case PendingEnd::Finished:
      return "finished";
    case PendingEnd::Cancelled:
      return "cancelled";
    case PendingEnd::TimedOut:
      return "the deadline has passed";
    case PendingEnd::Thrown:
      return "the coroutine has thrown";
  }
  return {};
}

}  // namespace orv
