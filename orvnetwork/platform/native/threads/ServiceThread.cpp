#include "orvnetwork/platform/native/threads/ServiceThread.h"

#include <pthread.h>

#include <csignal>
#include <utility>

namespace orv {

namespace {

/// Blocks all signals on the calling thread for a while; a thread that is started meanwhile inherits that.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

std::thread startServiceThread(const char* name, std::function<void()> function) {
  const SignalsBlocked blocked;
  // The new thread names itself: for another one's name the C library opens a file.
  return std::thread([name, run = std::move(function)] {
    ::pthread_setname_np(::pthread_self(), name);
    run();
  });
}

}  // namespace orv
