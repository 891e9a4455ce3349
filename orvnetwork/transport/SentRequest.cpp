#include "orvnetwork/transport/SentRequest.h"

#include <orvnetwork/transport/QXRequestItem.h>

#include <utility>

namespace orv {

namespace {

thread_local SentRequest* innermost = nullptr;

}  // namespace

SentRequest::SentRequest() : outer_(std::exchange(innermost, this)) {}

SentRequest::~SentRequest() {
  innermost = outer_;
}

void SentRequest::note(const std::shared_ptr<QXRequestItem>& item) {
  if (innermost != nullptr) innermost->item_ = item;
}

void takeBack(QXRequestItem& item) {
  item.jsonString.reset();
  const auto complete = std::exchange(item.completeBlock, nullptr);
  const auto timeout = std::exchange(item.timeoutBlock, nullptr);
}

bool isTakenBack(const QXRequestItem& item) {
  return !item.jsonString && !item.completeBlock && !item.timeoutBlock;
}

}  // namespace orv
