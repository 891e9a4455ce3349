#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/IoThread.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <csignal>
#include <exception>
#include <string>
#include <thread>

#include <pthread.h>

namespace orv {

namespace {

void runLoop(boost::asio::io_context& context) {
  pthread_setname_np(pthread_self(), "orv-io");
  const auto guard = boost::asio::make_work_guard(context);
  while (!context.stopped()) {
    try {
      context.run();
    } catch (const std::exception& error) {
      Console::write(std::string("network thread: ") + error.what());
    }
  }
}

/// One thread runs the loop, which the hint lets it take advantage of: no other thread is ever woken.
boost::asio::io_context* startLoop() {
  auto* context = new boost::asio::io_context(BOOST_ASIO_CONCURRENCY_HINT_1);
  // The host's signal handlers stay on the host's threads.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread([context] { runLoop(*context); }).detach();
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return context;
}

}  // namespace

boost::asio::io_context& ioContext() {
  static boost::asio::io_context* const context = startLoop();
  return *context;
}

}  // namespace orv
