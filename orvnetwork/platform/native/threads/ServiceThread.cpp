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
  std::thread thread(std::move(function));
  ::pthread_setname_np(thread.native_handle(), name);
  return thread;
}

}  // namespace orv
