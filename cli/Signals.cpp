#include "cli/Signals.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <utility>

namespace orv::cli {

namespace {

constexpr int kExitBySecondSignal = 130;

sigset_t watchedSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGHUP);
  return set;
}

}  // namespace

Signals::Signals(std::function<void()> interrupted) : interrupted_(std::move(interrupted)) {
  const sigset_t set = watchedSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
  thread_ = std::thread([this] { listen(); });
}

Signals::~Signals() {
  ending_ = true;
  ::pthread_kill(thread_.native_handle(), SIGTERM);
  thread_.join();
}

void Signals::listen() {
  const sigset_t set = watchedSignals();
  bool first = true;
  while (true) {
    int number = 0;
    if (::sigwait(&set, &number) != 0) continue;
    if (ending_) return;
    if (!std::exchange(first, false)) ::_exit(kExitBySecondSignal);
    interrupted_();
  }
}

}  // namespace orv::cli
