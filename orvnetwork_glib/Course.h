#pragma once

#include <orvnetwork/client/CourseRows.h>
#include <orvnetwork/data/Export.h>

#include <glib-object.h>

G_BEGIN_DECLS

/// A course as an item of an `OrvCourseListModel`, with a property for each thing that a row shows:
///
/// | property | type | |
/// |---|---|---|
/// | "room-id" | gint64 | the course's number |
/// | "title", "teacher", "intro" | text | the teacher's name, or else the owner's |
/// | "cover-url", "replay-url" | text | addresses |
/// | "status" | gint64 | 1: to come; 2: on the air; 3: over |
/// | "live-type" | gint64 | 1 and 3: live; 2: recorded |
/// | "start-time", "add-time" | GDateTime | in local time; null where none is set |
/// | "view-count", "enrolment-count" | gint64 | |
/// | "price" | gdouble | |
/// | "publish-status" | gint64 | 1: published; 99: new, and on this device only |
/// | "cloud-room-id" | gint64 | the room of a local course that has been announced; 0: it has none |
/// | "local" | gboolean | whether it was recorded on this device |
///
/// They are read-only. A course whose fields change stays the same object and notifies of what has changed. Main thread.
///
/// A program in C++ has the whole record by `orv::glib::courseOf`.
#define ORV_TYPE_COURSE (orv_course_get_type())
ORV_EXPORT G_DECLARE_FINAL_TYPE(OrvCourse, orv_course, ORV, COURSE, GObject)

G_END_DECLS

namespace orv::glib {

/// The record that the object shows now; nobody changes it. Never null.
ORV_EXPORT CourseRows::Row courseOf(OrvCourse* course);

/// For lists: makes an object of a row.
/// @return with one reference, the caller's
ORV_EXPORT OrvCourse* newCourse(CourseRows::Row row);
/// For lists: shows another row of the same room, and notifies of what is another.
ORV_EXPORT void setCourse(OrvCourse* course, CourseRows::Row row);

}  // namespace orv::glib
