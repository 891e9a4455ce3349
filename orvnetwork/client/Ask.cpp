#include "orvnetwork/client/Ask.h"

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/PendingState.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <optional>
#include <string>

namespace orv::detail {

/// The answer to a request, and how many of the request's callbacks are left that could bring it.
///
/// It is told in a turn of its own: all other requests wait for the return of a callback that a request calls by itself, and
/// who is told here may run a loop of its own, a dialogue say, that needs them.
class QuestionState final : public PendingState<Reply> {
 public:
  void answered(const json::object& frame) {
    if (settle(Reply(keepReply(frame)))) deliverSoon();
  }

  void timedOut(const std::shared_ptr<QXRequestItem>& item) {
    if (!isWanted()) return;
    if (!isBeingAsked) {
      settle(Reply(ReplyOutcome::TimedOut, whyNoAnswer(), item ? item->command : std::nullopt));
    } else {
      settle(item ? Reply(ReplyOutcome::NoLink, whyNoLink(), item->command)
                  : Reply(ReplyOutcome::TimedOut, "with these arguments nothing was sent", std::nullopt));
    }
    deliverSoon();
  }

  /// A later request has taken this one's identifier, and nobody would ever call.
  void lost() {
    if (!isWanted()) return;
    settle(Reply(ReplyOutcome::TimedOut, "another request has taken its identifier", std::nullopt));
    deliverSoon();
  }

  bool isBeingAsked = true;
  int holders = 0;

 private:
  static std::string whyNoLink() {
    const auto failure = QXWebSocketMgr::standard().linkFailure();
    return failure ? failure->text : "nobody has opened one yet";
  }
  static std::string whyNoAnswer() {
    const auto failure = QXWebSocketMgr::standard().linkFailure();
    return failure ? failure->text : std::string();
  }
};

namespace {

/// What the completion callback holds. The time-out callback leans on it: a request keeps the two together.
class Holder {
 public:
  explicit Holder(std::shared_ptr<QuestionState> state) : state_(std::move(state)) { ++state_->holders; }
  Holder(const Holder& other) : state_(other.state_) {
    if (state_) ++state_->holders;
  }
  Holder(Holder&& other) noexcept = default;
  Holder& operator=(const Holder&) = delete;
  ~Holder() {
    if (state_ && --state_->holders == 0) state_->lost();
  }

  void operator()(const std::shared_ptr<QXRequestItem>&, bool, const json::object& frame) const {
    const auto state = state_;
    if (state->isWanted()) state->answered(frame);
  }

 private:
  std::shared_ptr<QuestionState> state_;
};

}  // namespace

Question::Question() : state_(std::make_shared<QuestionState>()) {
  expectMainThread("ask");
}

Question::~Question() = default;

CompleteBlock Question::completeBlock() const {
  return Holder(state_);
}

TimeoutBlock Question::timeoutBlock() const {
  return [state = state_.get()](const std::shared_ptr<QXRequestItem>& item) {
    const auto kept = state->shared_from_this();
    state->timedOut(item);
  };
}

Pending<Reply> Question::asked() const {
  state_->isBeingAsked = false;
  return Pending<Reply>(state_);
}

}  // namespace orv::detail
