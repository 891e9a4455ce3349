#pragma once

#include <orvnetwork/client/Pending.h>

#include "PendingFixture.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orv {

/// What a coroutine holds while it lives.
class Local {
 public:
  Local(std::vector<std::string>& told, std::string name) : told_(&told), name_(std::move(name)) {}
  Local(const Local&) = delete;
  Local& operator=(const Local&) = delete;
  ~Local() { told_->push_back("~" + name_); }

 private:
  std::vector<std::string>* told_;
  std::string name_;
};

/// Coroutines that await what the source answers.
class CoroutineFixture : public PendingFixture {
 protected:
  /// Awaits the source's answer and gives it back with a mark.
  Pending<Text> mark(Pending<Text> awaited, std::string name = "frame") {
    const Local local(told, name);
    const Text text = co_await awaited;
    told.push_back("resumed");
    co_return words(text) + "!";
  }
  Pending<> noteEach(Pending<Text> first, Pending<Text> second) {
    const Text one = co_await first;
    told.push_back(words(one));
    const Text two = co_await second;
    told.push_back(words(two));
  }
  Pending<Text> withoutWaiting() { co_return "at once"; }
  Pending<Text> throws(Pending<Text> awaited) {
    const Text text = co_await awaited;
    throw std::runtime_error(words(text));
  }
  Pending<> closes(Pending<Text> awaited, std::optional<Pending<>>& window) {
    const Local local(told, "frame");
    const Text text = co_await awaited;
    window.reset();
    told.push_back("goes on after " + words(text));
    PendingSource<Text> never;
    auto next = never.pending();
    const Text other = co_await next;
    told.push_back("never reached " + words(other));
  }
  Pending<> closesAndReturns(Pending<Text> awaited, std::optional<Pending<>>& window) {
    const Local local(told, "frame");
    const Text text = co_await awaited;
    window.reset();
    told.push_back("goes on after " + words(text));
  }
  Pending<Text> cancelsItself(Pending<Text> awaited, Pending<Text>& own, Pending<Text> never) {
    const Local local(told, "frame");
    const Text text = co_await awaited;
    own.cancel();
    told.push_back("goes on after " + words(text));
    const Text other = co_await never;
    co_return other;
  }
  Pending<Text> base_ = source.pending();
};

}  // namespace orv
