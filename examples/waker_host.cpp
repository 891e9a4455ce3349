// A host whose event loop takes closures, like most toolkits': the library's waker posts "drain the main queue"
// to it. The loop here is a small stand-in for the toolkit's.
//
//   waker_host ws://127.0.0.1:PORT

#include <orvnetwork/orvnetwork.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <iostream>
#include <mutex>

namespace {

constexpr auto& ask = orv::ask<&orv::QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock>;

class ToolkitLoop {
 public:
  void invokeLater(std::function<void()> closure) {
    {
      const std::lock_guard lock(mutex_);
      closures_.push_back(std::move(closure));
    }
    wake_.notify_one();
  }

  int exec() {
    while (!quit_) {
      std::function<void()> next;
      {
        std::unique_lock lock(mutex_);
        if (!wake_.wait_for(lock, std::chrono::seconds(15), [this] { return !closures_.empty(); })) return 3;
        next = std::move(closures_.front());
        closures_.pop_front();
      }
      next();
    }
    return exitCode_;
  }

  void quit(int exitCode) {
    exitCode_ = exitCode;
    quit_ = true;
  }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> closures_;
  bool quit_ = false;
  int exitCode_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: waker_host URL\n";
    return 1;
  }
  ToolkitLoop loop;
  auto& main = orv::MainQueue::instance();
  main.claim();
  main.setWaker([&loop] { loop.invokeLater([] { orv::MainQueue::instance().drain(); }); });

  orv::ClientOptions options;
  options.server = argv[1];
  options.version = "1.0";
  options.build = "1";
  const auto client = orv::Client::start(options);
  if (!client) return std::cerr << client.error().description << '\n', 1;
  orv::PendingCallback asking;
  const auto waiting = (*client)->link().whenUp().then([&](orv::PendingEnd) {
    asking = ask("Dev.Echo", orv::json::object{{"hello", "classroom"}}).then([&](const orv::Reply& reply) {
      if (reply && reply.data()) std::cout << "echo: " << *reply.data() << std::endl;
      loop.quit(reply ? 0 : 2);
    });
  });

  const int exitCode = loop.exec();
  main.setWaker(nullptr);  // the loop is about to go
  return exitCode;
}
