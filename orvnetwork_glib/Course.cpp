#include "orvnetwork_glib/Course.h"

#include <orvnetwork/course/OrvCourseModel.h>

#include <orvnetwork_glib/detail/Properties.h>

#include <array>
#include <cstdint>
#include <memory>
#include <utility>

struct _OrvCourse {
  GObject parent;
  orv::CourseRows::Row* row;
};

// NOLINTNEXTLINE: what the macro makes is GLib's.
G_DEFINE_FINAL_TYPE(OrvCourse, orv_course, G_TYPE_OBJECT)

namespace {

using orv::OrvCourseModel;
using orv::glib::detail::PropertyOf;
namespace detail = orv::glib::detail;

template <auto Member>
void readText(const OrvCourseModel& course, GValue* value) {
  detail::setText(value, (course.*Member).get());
}

template <auto Member>
void readNumber(const OrvCourseModel& course, GValue* value) {
  g_value_set_int64(value, static_cast<gint64>((course.*Member).get()));
}

void readTeacher(const OrvCourseModel& course, GValue* value) {
  const auto& teacher = course.teacher.get();
  detail::setText(value, teacher && !teacher->empty() ? teacher : course.nick.get());
}

void readStartTime(const OrvCourseModel& course, GValue* value) {
  detail::setMoment(value, course.startTimeEnable.get() != 0 ? course.startTime.get() : std::int64_t{0});
}

void readAddTime(const OrvCourseModel& course, GValue* value) {
  detail::setMoment(value, course.addtime.get());
}

void readPrice(const OrvCourseModel& course, GValue* value) {
  g_value_set_double(value, static_cast<double>(course.coursePrice.get()));
}

void readLocal(const OrvCourseModel& course, GValue* value) {
  g_value_set_boolean(value, course.orv_local.get() ? TRUE : FALSE);
}

constexpr std::array kProperties{
    PropertyOf<OrvCourseModel>{"room-id", detail::numberType, readNumber<&OrvCourseModel::roomID>},
    PropertyOf<OrvCourseModel>{"title", detail::textType, readText<&OrvCourseModel::title>},
    PropertyOf<OrvCourseModel>{"teacher", detail::textType, readTeacher},
    PropertyOf<OrvCourseModel>{"intro", detail::textType, readText<&OrvCourseModel::intro>},
    PropertyOf<OrvCourseModel>{"cover-url", detail::textType, readText<&OrvCourseModel::coverUrl>},
    PropertyOf<OrvCourseModel>{"replay-url", detail::textType, readText<&OrvCourseModel::videoUrl>},
    PropertyOf<OrvCourseModel>{"status", detail::numberType, readNumber<&OrvCourseModel::status>},
    PropertyOf<OrvCourseModel>{"live-type", detail::numberType, readNumber<&OrvCourseModel::liveType>},
    PropertyOf<OrvCourseModel>{"start-time", g_date_time_get_type, readStartTime},
    PropertyOf<OrvCourseModel>{"add-time", g_date_time_get_type, readAddTime},
    PropertyOf<OrvCourseModel>{"view-count", detail::numberType, readNumber<&OrvCourseModel::viewCnt>},
    PropertyOf<OrvCourseModel>{"enrolment-count", detail::numberType,
                               readNumber<&OrvCourseModel::enrolmentCnt>},
    PropertyOf<OrvCourseModel>{"price", detail::amountType, readPrice},
    PropertyOf<OrvCourseModel>{"publish-status", detail::numberType,
                               readNumber<&OrvCourseModel::publishStatus>},
    PropertyOf<OrvCourseModel>{"cloud-room-id", detail::numberType,
                               readNumber<&OrvCourseModel::orv_cloudRoomID>},
    PropertyOf<OrvCourseModel>{"local", detail::flagType, readLocal},
};

}  // namespace

static void orv_course_init(OrvCourse* self) {
  self->row = new orv::CourseRows::Row(std::make_shared<const OrvCourseModel>());
}

static void orv_course_finalize(GObject* object) {
  delete ORV_COURSE(object)->row;
  G_OBJECT_CLASS(orv_course_parent_class)->finalize(object);
}

static void orv_course_get_property(GObject* object, guint number, GValue* value, GParamSpec*) {
  kProperties.at(number - 1).read(**ORV_COURSE(object)->row, value);
}

static void orv_course_class_init(OrvCourseClass* type) {
  G_OBJECT_CLASS(type)->finalize = orv_course_finalize;
  G_OBJECT_CLASS(type)->get_property = orv_course_get_property;
  detail::installProperties(type, kProperties);
}

namespace orv::glib {

CourseRows::Row courseOf(OrvCourse* course) {
  g_return_val_if_fail(ORV_IS_COURSE(course), std::make_shared<const OrvCourseModel>());
  return *course->row;
}

OrvCourse* newCourse(CourseRows::Row row) {
  auto* const course = ORV_COURSE(g_object_new(ORV_TYPE_COURSE, nullptr));
  *course->row = std::move(row);
  return course;
}

void setCourse(OrvCourse* course, CourseRows::Row row) {
  if (*course->row == row) return;
  const CourseRows::Row before = std::exchange(*course->row, std::move(row));
  const CourseRows::Row now = *course->row;
  detail::notifyOfChanges(G_OBJECT(course), kProperties, *before, *now);
}

}  // namespace orv::glib
