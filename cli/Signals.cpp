#include "cli/Signals.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <utility>

namespace orv::cli {

namespace {

constexpr int kExitBySecondSignal = 130;

std::atomic<void (*)()> putRightAtEnd{nullptr};

sigset_t watchedSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGHUP);
  return set;
}

}  // namespace

Signals::Signals(std::function<void(int)> interrupted) : interrupted_(std::move(interrupted)) {
  const sigset_t set = watchedSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
  thread_ = std::thread([this] { listen(); });
}

Signals::~Signals() {
  ending_ = true;
  ::pthread_kill(thread_.native_handle(), SIGTERM);
  thread_.join();
}

void Signals::beforeAbruptEnd(void (*putRight)()) {
  putRightAtEnd = putRight;
}

void Signals::listen() {
  const sigset_t set = watchedSignals();
  while (true) {
    int number = 0;
    if (::sigwait(&set, &number) != 0) continue;
    if (ending_) return;
    if (!first_.exchange(false)) {
      if (void (*const putRight)() = putRightAtEnd) putRight();
      ::_exit(kExitBySecondSignal);
    }
    interrupted_(number);
  }
}

}  // namespace orv::cli
