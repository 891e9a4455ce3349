#include "orvnetwork/platform/native/websocket/MemoryReturn.h"

#include <orvnetwork/platform/native/websocket/IoThread.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <malloc.h>

#include <atomic>
#include <chrono>

namespace orv {

namespace {

/// Until the last of the flood has been let go, and what comes of it has been dealt with.
constexpr std::chrono::seconds kPause{1};

std::atomic<bool> returnAsked{false};

void giveBackLater() {
  static auto* const timer = new boost::asio::steady_timer(ioContext());
  timer->expires_after(kPause);
  timer->async_wait([](const boost::system::error_code&) {
    returnAsked = false;
    ::malloc_trim(0);
  });
}

}  // namespace

void giveMemoryBackSoon() {
  if (!returnAsked.exchange(true)) boost::asio::post(ioContext(), giveBackLater);
}

}  // namespace orv
