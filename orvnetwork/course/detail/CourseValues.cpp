#include "orvnetwork/course/detail/CourseValues.h"

#include <orvnetwork/data/JsonEquality.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/RecordMapping.h>

#include <array>

namespace orv {

namespace {

constexpr std::string_view kRoom = "roomID", kStatus = "status", kPublished = "publishStatus";

}  // namespace

CourseValues::CourseValues(const json::value& item) : item_(&item), isCourse_(item.is_object()) {
  for (const std::string_view key : std::array{kRoom, kStatus, kPublished}) {
    if (const json::value* const value = member(item.if_object(), key)) take(key, *value);
  }
}

CourseValues::CourseValues(const JsonView& item) : item_(item), isCourse_(item.isDictionary()) {
  if (!isCourse_) return;
  item.eachMember([&](std::string_view key, const JsonView& value) {
    if (key == kRoom || key == kStatus || key == kPublished) take(key, value.value());
  });
}

void CourseValues::take(std::string_view key, const json::value& value) {
  const std::int64_t number = looseInt64(&value);
  if (key == kRoom) {
    roomID_ = number;
    roomHash_ = hashOfJson(value);
  } else {
    (key == kStatus ? status_ : publishStatus_) = number;
  }
}

bool CourseValues::isSameAs(const CourseValues& other) const {
  if (roomHash_ != other.roomHash_) return false;
  const auto* const one = std::get_if<JsonView>(&item_);
  const auto* const two = std::get_if<JsonView>(&other.item_);
  if (one != nullptr && two != nullptr && one->isDictionary() && one->source() == two->source()) return true;
  return sameJson(value(), other.value());
}

void CourseValues::fill(Record& record) const {
  if (const auto* const view = std::get_if<JsonView>(&item_)) {
    record.fields().merge(record, *view);
  } else {
    record.merge(std::get<0>(item_)->get_object());
  }
}

json::value CourseValues::value() const {
  const auto* const view = std::get_if<JsonView>(&item_);
  return view != nullptr ? view->value() : *std::get<0>(item_);
}

}  // namespace orv
