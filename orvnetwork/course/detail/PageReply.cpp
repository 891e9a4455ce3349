#include "orvnetwork/course/detail/PageReply.h"

#include <orvnetwork/data/LooseRead.h>

#include <utility>

namespace orv {

PageReply::PageReply(UnreadReply reply) : reply_(std::move(reply)) {
  if (const auto frame = reply_.view()) {
    const auto values = frame->member("v");
    hasValues_ = values && values->isDictionary();
    const auto items = hasValues_ ? values->member("data") : std::nullopt;
    if (items && items->isArray()) view_ = items;
  } else {
    const json::object* const values = looseObject(member(reply_.values(), "v"));
    hasValues_ = values != nullptr;
    array_ = looseArray(member(values, "data"));
  }
}

PageItems PageReply::items(std::int64_t page) const {
  if (view_) return {page, *view_};
  static const auto& none = *new json::array();
  return {page, array_ != nullptr ? *array_ : none};
}

}  // namespace orv
