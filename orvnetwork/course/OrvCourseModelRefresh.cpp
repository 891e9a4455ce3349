#include "orvnetwork/course/OrvCourseModel.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/platform/Executor.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

namespace {

/// A member that is there and not null.
const json::value* presentMember(const json::object* object, std::string_view key) {
  const json::value* value = member(object, key);
  return value != nullptr && !value->is_null() ? value : nullptr;
}

void takeOverReplay(OrvCourseModel& course, const json::object* data) {
  OptionalString videoUrl = looseString(member(data, "videoUrl"));
  if (!videoUrl || videoUrl->empty()) return;
  course.videoUrl = std::move(videoUrl);
  course.videoStatus = static_cast<std::uint64_t>(looseInt64(member(data, "videoStatus")));
}

void call(const OrvCourseModel::RefreshBlock& block, bool success, const OptionalString& message,
          const json::object* reply) {
  if (block) runGuarded("refresh callback", [&] { block(success, message, reply); });
}

void complete(const std::weak_ptr<Record>& course, bool success, const json::object& reply,
              const OrvCourseModel::RefreshBlock& block) {
  const json::object* values = looseObject(member(reply, "v"));
  const json::value* data = presentMember(values, "data");
  if (!success || data == nullptr) {
    const json::value* reason = presentMember(values, "err");
    call(block, false, reason != nullptr ? describe(*reason) : "failed", &reply);
    return;
  }
  if (const auto alive = std::static_pointer_cast<OrvCourseModel>(course.lock())) {
    takeOverReplay(*alive, looseObject(data));
  }
  call(block, true, std::nullopt, &reply);
}

}  // namespace

void OrvCourseModel::refreshCourseInfoWithCompleteBlock(RefreshBlock completeBlock) {
  const std::int64_t copyInCloud = orv_cloudRoomID;
  const bool isPublished = orv_local && publishStatus == publish_status::kPublished && copyInCloud > 0;
  // The request alone holds it: it ends on the main thread.
  auto block = std::make_shared<const RefreshBlock>(std::move(completeBlock));
  auto completion = [course = weak_from_this(), block](const auto&, bool success, const json::object& reply) {
    complete(course, success, reply, *block);
  };
  auto expiry = [block = std::move(block)](const auto&) { call(*block, false, "timeout", nullptr); };
  QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock(
      std::to_string(isPublished ? copyInCloud : roomID.get()), std::move(completion), std::move(expiry));
}

}  // namespace orv
