#pragma once

#include <orvnetwork/client/CourseList.h>

#include "Ref.h"
#include "Signals.h"

#include <gtk/gtk.h>
#include <orvnetwork_glib/CourseListModel.h>

namespace classroom_gtk {

/// A list of courses that fills as it is scrolled, with a line below that says what it is about.
class CourseView {
 public:
  /// @param name by which tests find the list
  /// @param nothing what stands there when there is no course
  CourseView(orv::CourseList list, const char* name, const char* nothing);
  ~CourseView();
  CourseView(const CourseView&) = delete;
  CourseView& operator=(const CourseView&) = delete;

  GtkWidget* widget() const { return box_.get(); }
  void refresh() { orv_course_list_model_refresh(model_.get()); }

 private:
  void showState();
  void fillSoon();
  bool isNearTheEnd() const;
  static gboolean frameBegins(GtkWidget*, GdkFrameClock*, gpointer view);

  const Ref<OrvCourseListModel> model_;
  const char* const nothing_;
  const Ref<GtkWidget> box_, list_, state_, again_;
  Ref<GtkAdjustment> scroll_;
  guint tick_ = 0;
  int frames_ = 0;
  Signals signals_;
};

}  // namespace classroom_gtk
