#pragma once

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/data/Export.h>

#include <gio/gio.h>
#include <orvnetwork_glib/Course.h>

G_BEGIN_DECLS

/// A list of courses as a `GListModel` of `OrvCourse`s, for `GtkListView`, `GtkColumnView` and everything else that takes
/// one.
///
///     OrvCourseListModel* model = orv::glib::newCourseListModel(orv::CourseList::recorded());
///     GtkWidget* view = gtk_list_view_new(GTK_SELECTION_MODEL(gtk_single_selection_new(G_LIST_MODEL(model))), factory);
///     orv_course_list_model_load_more(model);                  // and again when the view is scrolled to its end
///
/// A course that stays in the list stays the same object, wherever it moves, so that selections stay with their courses;
/// its changed fields are told by the course itself. "items-changed" is told for rows that came and went, and where rows
/// moved once for all rows between the first and the last of them. It is told in turns of the main queue, never inside a
/// call to the model.
///
/// Properties, all read-only: "phase" (`OrvCourseListPhase`), "loading", "at-end", "can-load-more" (whether a view may ask
/// by itself), "error-text" (why the last load failed, for people; null when it did not), "error-kind" (its kind by its
/// name in `orv::CourseListErrorKind`, such as "NoLink") and "n-items" (guint). The beginning of a load is notified inside
/// the call that begins it.
///
/// After the `Client`. Let go before it, or the list is silent from then on. Main thread; it may be let go at any time, from
/// inside its signals too.
#define ORV_TYPE_COURSE_LIST_MODEL (orv_course_list_model_get_type())
ORV_EXPORT G_DECLARE_FINAL_TYPE(OrvCourseListModel, orv_course_list_model, ORV, COURSE_LIST_MODEL, GObject)

/// `orv::CourseListPhase` as a type of GLib's.
#define ORV_TYPE_COURSE_LIST_PHASE (orv_course_list_phase_get_type())
ORV_EXPORT GType orv_course_list_phase_get_type();

/// `orv::CourseList::loadMore` and `orv::CourseList::refresh`.
ORV_EXPORT void orv_course_list_model_load_more(OrvCourseListModel* self);
ORV_EXPORT void orv_course_list_model_refresh(OrvCourseListModel* self);

G_END_DECLS

namespace orv::glib {

/// @param list becomes the model's
/// @return with one reference, the caller's
ORV_EXPORT OrvCourseListModel* newCourseListModel(CourseList list);

}  // namespace orv::glib
