#include "CourseView.h"

#include "CourseRow.h"
#include "Widgets.h"

#include <string>
#include <utility>

namespace classroom_gtk {

namespace {

GtkWidget* makeList(OrvCourseListModel* model, const char* name) {
  // The selection and the view each take what they are given.
  auto* const courses = G_LIST_MODEL(g_object_ref(model));
  GtkWidget* const list =
      gtk_list_view_new(GTK_SELECTION_MODEL(gtk_single_selection_new(courses)), newCourseRows());
  gtk_widget_set_name(list, name);
  return list;
}

}  // namespace

CourseView::CourseView(orv::CourseList list, const char* name, const char* nothing)
    : model_(orv::glib::newCourseListModel(std::move(list))),
      nothing_(nothing),
      box_(own(makeBox(GTK_ORIENTATION_VERTICAL, 6, 0))),
      list_(own(makeList(model_.get(), name))),
      state_(own(makeLabel("", "dim-label", "state"))),
      again_(own(makeButton("Try again", "again"))) {
  GtkWidget* const scrolled = gtk_scrolled_window_new();
  gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), list_.get());
  gtk_widget_set_vexpand(scrolled, TRUE);
  GtkAdjustment* const scroll = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(scrolled));
  scroll_ = Ref<GtkAdjustment>(GTK_ADJUSTMENT(g_object_ref(scroll)));
  GtkWidget* const below = makeBox(GTK_ORIENTATION_HORIZONTAL, 6, 6);
  gtk_widget_set_hexpand(state_.get(), TRUE);
  gtk_box_append(GTK_BOX(below), state_.get());
  gtk_box_append(GTK_BOX(below), again_.get());
  gtk_box_append(GTK_BOX(box_.get()), scrolled);
  gtk_box_append(GTK_BOX(box_.get()), below);

  signals_.on(again_.get(), "clicked", [this] { orv_course_list_model_load_more(model_.get()); });
  signals_.on(list_.get(), "map", [this] { fillSoon(); });
  signals_.on(scroll, "changed", [this] { fillSoon(); });
  signals_.on(scroll, "value-changed", [this] { fillSoon(); });
  signals_.on(model_.get(), "notify", [this] {
    showState();
    frames_ = 0;
    fillSoon();
  });
  showState();
}

CourseView::~CourseView() {
  if (tick_ != 0) gtk_widget_remove_tick_callback(list_.get(), tick_);
}

/// Looks in the second frame from now whether more is wanted: then the rows that have come stand in their places.
void CourseView::fillSoon() {
  if (tick_ != 0 || gtk_widget_get_mapped(list_.get()) == FALSE) return;
  frames_ = 0;
  tick_ = gtk_widget_add_tick_callback(list_.get(), frameBegins, this, nullptr);
}

gboolean CourseView::frameBegins(GtkWidget*, GdkFrameClock*, gpointer view) {
  auto& self = *static_cast<CourseView*>(view);
  if (++self.frames_ < 3) return G_SOURCE_CONTINUE;
  self.tick_ = 0;
  gboolean mayLoad = FALSE;
  g_object_get(self.model_.get(), "can-load-more", &mayLoad, nullptr);
  if (mayLoad != FALSE && self.isNearTheEnd()) orv_course_list_model_load_more(self.model_.get());
  return G_SOURCE_REMOVE;
}

/// Less than a page is left below what can be seen.
bool CourseView::isNearTheEnd() const {
  if (gtk_widget_get_mapped(list_.get()) == FALSE) return false;
  const double page = gtk_adjustment_get_page_size(scroll_.get());
  return gtk_adjustment_get_value(scroll_.get()) + 2 * page >= gtk_adjustment_get_upper(scroll_.get());
}

void CourseView::showState() {
  int phase = 0;
  guint count = 0;
  char* error = nullptr;
  g_object_get(model_.get(), "phase", &phase, "n-items", &count, "error-text", &error, nullptr);
  std::string text;
  switch (static_cast<orv::CourseListPhase>(phase)) {
    case orv::CourseListPhase::Failed:
      text = std::string("The courses did not come: ") + (error != nullptr ? error : "");
      break;
    case orv::CourseListPhase::Loading:
      text = "Loading …";
      break;
    case orv::CourseListPhase::End:
      text = count == 0 ? nothing_ : count == 1 ? "One course" : "All " + std::to_string(count) + " courses";
      break;
    case orv::CourseListPhase::Idle:
      text = std::to_string(count) + " courses so far";
      break;
  }
  g_free(error);
  gtk_label_set_text(GTK_LABEL(state_.get()), text.c_str());
  gtk_widget_set_visible(again_.get(),
                         phase == static_cast<int>(orv::CourseListPhase::Failed) ? TRUE : FALSE);
}

}  // namespace classroom_gtk
