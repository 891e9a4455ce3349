// A host on GLib that was built against the installed package.

#include <orvnetwork/orvnetwork.h>

#include <orvnetwork_glib/orvnetwork_glib.h>

#include <iostream>

int main() {
  if (!orv::glib::attachMainQueue()) return 1;
  OrvCourseListModel* const model = orv::glib::newCourseListModel(orv::CourseList::local());
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  orv::MainQueue::instance().post([loop] { g_main_loop_quit(loop); });
  g_main_loop_run(loop);
  std::cout << "done, " << g_list_model_get_n_items(G_LIST_MODEL(model)) << " courses" << std::endl;
  g_object_unref(model);
  g_main_loop_unref(loop);
}
