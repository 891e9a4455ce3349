#include <orvnetwork/client/Pending.h>

#include "PendingFixture.h"

#include <coroutine>
#include <stdexcept>
#include <string>
#include <utility>

namespace orv::pending_foreign_coroutine_test {
namespace {

/// A coroutine of another kind, that a host might have.
class Foreign {
 public:
  struct promise_type {
    Foreign get_return_object() { return Foreign(std::coroutine_handle<promise_type>::from_promise(*this)); }
    std::suspend_never initial_suspend() { return {}; }
    std::suspend_always final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { throw; }
  };

  explicit Foreign(std::coroutine_handle<> frame) : frame_(frame) {}
  Foreign(Foreign&& other) noexcept : frame_(std::exchange(other.frame_, nullptr)) {}
  Foreign& operator=(const Foreign&) = delete;
  ~Foreign() {
    if (frame_) frame_.destroy();
  }

 private:
  std::coroutine_handle<> frame_;
};

class PendingForeignCoroutine : public PendingFixture {
 protected:
  Foreign foreign(Pending<Text>& awaited) {
    const Text text = co_await awaited;
    told.push_back("foreign " + words(text));
  }

  Pending<Text> base_ = source.pending();
};

TEST_F(PendingForeignCoroutine, MayAwait) {
  const Foreign kept = foreign(base_);
  source.answer("7");
  settle();
  EXPECT_EQ(told, Strings{"foreign 7"});
}

TEST_F(PendingForeignCoroutine, ThatIsDestroyedHearsNothing) {
  { const Foreign dropped = foreign(base_); }
  source.answer("7");
  settle();
  EXPECT_EQ(told, Strings{});
}

TEST_F(PendingForeignCoroutine, ThatThrowsDoesNoHarm) {
  auto throwing = [](Pending<Text>& awaited) -> Foreign {
    const Text text = co_await awaited;
    throw std::runtime_error(words(text));
  };
  const Foreign kept = throwing(base_);
  source.answer("a host's fault");
  settle();
  ASSERT_EQ(console.size(), 1u);
  EXPECT_NE(console[0].find("a host's fault"), std::string::npos) << console[0];
}

}  // namespace
}  // namespace orv::pending_foreign_coroutine_test
