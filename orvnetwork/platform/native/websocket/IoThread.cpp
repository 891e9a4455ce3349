#include "orvnetwork/platform/native/websocket/IoThread.h"

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/threads/ServiceThread.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <exception>
#include <memory>
#include <string>

namespace orv {

namespace {

void runLoop(boost::asio::io_context& context) {
  const auto guard = boost::asio::make_work_guard(context);
  while (!context.stopped()) {
    try {
      context.run();
    } catch (const std::exception& error) {
      Console::write(std::string("network thread: ") + error.what());
    } catch (...) {
      Console::write("network thread: unknown exception");
    }
  }
}

/// One thread runs the loop, which the hint lets it take advantage of: no other thread is ever woken.
boost::asio::io_context* startLoop() {
  auto context = std::make_unique<boost::asio::io_context>(BOOST_ASIO_CONCURRENCY_HINT_1);
  startServiceThread("orv-io", [loop = context.get()] { runLoop(*loop); }).detach();
  return context.release();
}

}  // namespace

boost::asio::io_context& ioContext() {
  static boost::asio::io_context* const context = startLoop();
  return *context;
}

}  // namespace orv
