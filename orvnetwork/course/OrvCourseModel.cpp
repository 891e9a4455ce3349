#include "orvnetwork/course/OrvCourseModel.h"

#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/data/RecordField.h>

#include <memory>
#include <typeinfo>

namespace orv {

const RecordTable& OrvCourseModel::table() {
  static const auto& fields = *new RecordTable({
      recordField<&OrvCourseModel::orv_local>("orv_local"),
      recordField<&OrvCourseModel::orv_intro>("orv_intro"),
      recordField<&OrvCourseModel::orv_createInfo>("orv_createInfo"),
      recordField<&OrvCourseModel::orv_cloudRoomID>("orv_cloudRoomID"),
      recordField<&OrvCourseModel::orv_vectorDuration>("orv_vectorDuration"),
      recordField<&OrvCourseModel::videoType>("videoType"),
      recordField<&OrvCourseModel::seriesType>("seriesType"),
      recordField<&OrvCourseModel::status>("status"),
      recordField<&OrvCourseModel::title>("title"),
      recordField<&OrvCourseModel::coverUrl>("coverUrl"),
      recordField<&OrvCourseModel::flvUrl>("flvUrl"),
      recordField<&OrvCourseModel::rtmpUrl>("rtmpUrl"),
      recordField<&OrvCourseModel::hlsUrl>("hlsUrl"),
      recordField<&OrvCourseModel::viewCnt>("viewCnt"),
      recordAccessor<&OrvCourseModel::duration, &OrvCourseModel::setDuration>("duration"),
      recordField<&OrvCourseModel::rolename>("rolename"),
      recordField<&OrvCourseModel::updatetime>("updatetime"),
      recordField<&OrvCourseModel::whiteboardDataID>("whiteboardDataID"),
      recordField<&OrvCourseModel::uID>("uID"),
      recordField<&OrvCourseModel::cover>("cover"),
      recordField<&OrvCourseModel::startTimeEnable>("startTimeEnable"),
      recordField<&OrvCourseModel::courseType>("courseType"),
      recordField<&OrvCourseModel::pptStatus>("pptStatus"),
      recordField<&OrvCourseModel::addtime>("addtime"),
      recordField<&OrvCourseModel::roomID>("roomID"),
      recordField<&OrvCourseModel::tvSeries>("tvSeries"),
      recordField<&OrvCourseModel::liveType>("liveType"),
      recordField<&OrvCourseModel::classroomID>("classroomID"),
      recordField<&OrvCourseModel::role>("role"),
      recordField<&OrvCourseModel::income>("income"),
      recordField<&OrvCourseModel::startTime>("startTime"),
      recordField<&OrvCourseModel::enrolmentCnt>("enrolmentCnt"),
      recordField<&OrvCourseModel::coursePrice>("coursePrice"),
      recordField<&OrvCourseModel::publishStatus>("publishStatus"),
      recordField<&OrvCourseModel::videoUrl>("videoUrl"),
      recordField<&OrvCourseModel::videoStatus>("videoStatus"),
      recordField<&OrvCourseModel::host>("host"),
      recordField<&OrvCourseModel::liveStatus>("liveStatus"),
      recordField<&OrvCourseModel::publishUrl>("publishUrl"),
      recordField<&OrvCourseModel::teacher>("teacher"),
      recordField<&OrvCourseModel::teacherIntro>("teacherIntro"),
      recordField<&OrvCourseModel::intro>("intro"),
      recordField<&OrvCourseModel::liveCommand>("liveCommand"),
      recordField<&OrvCourseModel::nick>("nick"),
      recordField<&OrvCourseModel::userpic>("userpic"),
      recordField<&OrvCourseModel::livePauseRemainingTime>("livePauseRemainingTime"),
      recordField<&OrvCourseModel::liveStartTime>("liveStartTime"),
      recordField<&OrvCourseModel::liveTime>("liveTime"),
      recordField<&OrvCourseModel::test>("test"),
      recordField<&OrvCourseModel::liveDuration>("liveDuration"),
      recordField<&OrvCourseModel::shareUrl>("shareUrl"),
      recordField<&OrvCourseModel::kelto_open>("kelto_open"),
  });
  return fields;
}

double OrvCourseModel::duration() const {
  return live_type::isLive(liveType) ? orv_vectorDuration.get() : duration_.get();
}

bool OrvCourseModel::isEqual(const Record* other) const {
  if (other == this) return true;
  return other != nullptr && typeid(*this) == typeid(*other) &&
         roomID == static_cast<const OrvCourseModel&>(*other).roomID.get();
}

std::shared_ptr<OrvCourseModel> OrvCourseModel::copyWithZone() const {
  auto copy = std::make_shared<OrvCourseModel>();
  copyAllFields(*this, *copy);
  return copy;
}

std::shared_ptr<OrvCourseModel> OrvCourseModel::initWithCoder(const KeyedArchive& archive) {
  auto course = std::make_shared<OrvCourseModel>();
  course->decode(archive);
  return course;
}

}  // namespace orv
