#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/CourseListState.h>
#include <orvnetwork/course/OrvCourseModel.h>

#include "ListView.h"
#include "Owned.h"
#include <tests/support/SchoolClientFixture.h>

#include <orvnetwork_glib/CourseListModel.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv::course_list_model_test {
namespace {

using Rooms = std::vector<std::int64_t>;

class GlibCourseListModel : public SchoolClientFixture {
 protected:
  using Model = Owned<OrvCourseListModel>;

  GlibCourseListModel() { signIn(); }
  ~GlibCourseListModel() override { model.reset(); }

  /// Recorded courses on the server, and the model of their list with all that it loads.
  void list(std::size_t count) {
    rooms = school.addCourses(count, {{"liveType", 2}, {"title", "before"}, {"teacher", "Lin"}});
    model = Model(glib::newCourseListModel(CourseList::recorded()));
    platform.settle();
  }
  void load() {
    orv_course_list_model_load_more(model.get());
    platform.settle();
  }
  guint size() const { return g_list_model_get_n_items(G_LIST_MODEL(model.get())); }
  Owned<OrvCourse> item(guint index) const {
    return Owned<OrvCourse>(ORV_COURSE(g_list_model_get_item(G_LIST_MODEL(model.get()), index)));
  }
  CourseListPhase phase() const { return static_cast<CourseListPhase>(wordOf(model.get(), "phase")); }

  Rooms rooms;
  Model model;
};

TEST_F(GlibCourseListModel, BeginsEmptyAndGetsItsRowsPageByPage) {
  list(35);
  EXPECT_EQ(size(), 0u);
  EXPECT_EQ(phase(), CourseListPhase::Idle);
  EXPECT_TRUE(flagOf(model.get(), "can-load-more"));
  EXPECT_EQ(g_list_model_get_item_type(G_LIST_MODEL(model.get())), ORV_TYPE_COURSE);
  orv_course_list_model_load_more(model.get());
  EXPECT_TRUE(flagOf(model.get(), "loading")) << "loading begins inside the call";
  EXPECT_FALSE(flagOf(model.get(), "can-load-more"));
  EXPECT_EQ(size(), 0u) << "no row comes inside it";
  platform.settle();
  EXPECT_EQ(size(), 30u);
  EXPECT_EQ(phase(), CourseListPhase::Idle);
  load();
  EXPECT_EQ(size(), 35u);
  EXPECT_TRUE(flagOf(model.get(), "at-end"));
  guint count = 0;
  g_object_get(model.get(), "n-items", &count, nullptr);
  EXPECT_EQ(count, 35u);
  EXPECT_EQ(item(35), nullptr);
}

TEST_F(GlibCourseListModel, AnItemShowsItsCourse) {
  list(1);
  school.changeCourse(rooms[0], {{"title", "代数"},
                                 {"intro", "x"},
                                 {"teacher", ""},
                                 {"nick", "Owner"},
                                 {"status", 3},
                                 {"viewCnt", 7},
                                 {"startTimeEnable", 1},
                                 {"startTime", 1700000000},
                                 {"addtime", 0},
                                 {"coursePrice", 1.5},
                                 {"videoUrl", "http://replay"}});
  load();
  const auto course = item(0);
  ASSERT_NE(course, nullptr);
  EXPECT_EQ(ListView::roomOf(course.get()), rooms[0]);
  EXPECT_EQ(textOf(course.get(), "title"), "代数");
  EXPECT_EQ(textOf(course.get(), "teacher"), "Owner") << "the owner's name where there is no teacher's";
  EXPECT_EQ(textOf(course.get(), "intro"), "x");
  EXPECT_EQ(textOf(course.get(), "replay-url"), "http://replay");
  EXPECT_EQ(textOf(course.get(), "cover-url"), "(null)");
  gint64 status = 0, liveType = 0, views = 0;
  double price = 0;
  GDateTime *start = nullptr, *added = nullptr;
  g_object_get(course.get(), "status", &status, "live-type", &liveType, "view-count", &views, "price", &price,
               "start-time", &start, "add-time", &added, nullptr);
  EXPECT_EQ(status, 3);
  EXPECT_EQ(liveType, 2);
  EXPECT_EQ(views, 7);
  EXPECT_EQ(price, 1.5);
  ASSERT_NE(start, nullptr);
  EXPECT_EQ(g_date_time_to_unix(start), 1700000000);
  EXPECT_EQ(added, nullptr);
  EXPECT_FALSE(flagOf(course.get(), "local"));
  g_date_time_unref(start);
  EXPECT_EQ(glib::courseOf(course.get())->roomID.get(), rooms[0]);
}

TEST_F(GlibCourseListModel, ATeachersNameStandsBeforeTheOwners) {
  list(1);
  school.changeCourse(rooms[0], {{"nick", "Owner"}});
  load();
  EXPECT_EQ(textOf(item(0).get(), "teacher"), "Lin");
}

TEST_F(GlibCourseListModel, TheBeginningOfALoadIsNotifiedInsideTheCall) {
  list(1);
  int told = 0;
  g_signal_connect(model.get(), "notify::loading",
                   G_CALLBACK(+[](GObject*, GParamSpec*, gpointer count) { ++*static_cast<int*>(count); }),
                   &told);
  orv_course_list_model_load_more(model.get());
  EXPECT_EQ(told, 1);
  platform.settle();
  EXPECT_EQ(told, 2);
  orv_course_list_model_refresh(model.get());
  EXPECT_EQ(told, 3);
  g_signal_handlers_disconnect_by_data(model.get(), &told);
}

TEST_F(GlibCourseListModel, ACourseThatChangesStaysTheSameObjectAndTellsOfThatField) {
  list(3);
  load();
  ListView view(model.get());
  const auto before = item(1);
  std::vector<std::string> told;
  g_signal_connect(before.get(), "notify", G_CALLBACK(+[](GObject*, GParamSpec* property, gpointer names) {
                     static_cast<std::vector<std::string>*>(names)->emplace_back(property->name);
                   }),
                   &told);
  school.changeCourse(ListView::roomOf(before.get()), {{"title", "after"}});
  orv_course_list_model_refresh(model.get());
  platform.settle();
  EXPECT_EQ(item(1), before);
  EXPECT_EQ(textOf(before.get(), "title"), "after");
  EXPECT_EQ(told, (std::vector<std::string>{"title"}));
  EXPECT_EQ(view.changes, 0) << "no row came or went";
  g_signal_handlers_disconnect_by_data(before.get(), &told);
}

TEST_F(GlibCourseListModel, RowsThatComeAndGoAreToldApart) {
  list(5);
  load();
  ListView view(model.get());
  const Rooms listed = view.rooms();
  school.removeCourse(listed[1]);
  school.removeCourse(listed[3]);
  orv_course_list_model_refresh(model.get());
  platform.settle();
  EXPECT_EQ(view.rooms(), (Rooms{listed[0], listed[2], listed[4]}));
  EXPECT_EQ(view.changes, 2);
  EXPECT_EQ(view.splices, 0);
}

TEST_F(GlibCourseListModel, RowsThatMoveAreOneSpliceWithTheSameObjects) {
  list(6);
  load();
  ListView view(model.get());
  const std::vector<OrvCourse*> items = view.items();
  Rooms order = view.rooms();
  std::swap(order[1], order[4]);
  school.setListOrder(order);
  orv_course_list_model_refresh(model.get());
  platform.settle();
  EXPECT_EQ(view.rooms(), order);
  EXPECT_EQ(view.changes, 1);
  EXPECT_EQ(view.items()[1], items[4]);
  EXPECT_EQ(view.items()[4], items[1]);
}

TEST_F(GlibCourseListModel, AFailureIsShownAndClearedByTheNextLoad) {
  list(3);
  school.refuse("", 5, "no lists today", 1);
  load();
  EXPECT_EQ(phase(), CourseListPhase::Failed);
  EXPECT_EQ(textOf(model.get(), "error-text"), "no lists today");
  EXPECT_EQ(textOf(model.get(), "error-kind"), "Refused");
  EXPECT_FALSE(flagOf(model.get(), "can-load-more"));
  load();
  EXPECT_EQ(textOf(model.get(), "error-text"), "(null)");
  EXPECT_EQ(size(), 3u);
}

TEST_F(GlibCourseListModel, MayBeLetGoInsideItsSignals) {
  list(5);
  load();
  bool gone = false;
  g_object_weak_ref(
      G_OBJECT(model.get()), [](gpointer flag, GObject*) { *static_cast<bool*>(flag) = true; }, &gone);
  g_signal_connect(model.get(), "items-changed",
                   G_CALLBACK(+[](GListModel*, guint, guint, guint, gpointer owner) {
                     static_cast<Model*>(owner)->reset();
                   }),
                   &model);
  school.removeCourse(rooms[0]);
  school.removeCourse(rooms[2]);
  orv_course_list_model_refresh(model.get());
  platform.settle();
  EXPECT_TRUE(gone);
}

TEST_F(GlibCourseListModel, ACourseOutlivesItsListAndChangesNoMore) {
  list(1);
  load();
  const auto course = item(0);
  model.reset();
  school.changeCourse(rooms[0], {{"title", "after"}});
  platform.settle();
  EXPECT_EQ(textOf(course.get(), "title"), "before");
}

}  // namespace
}  // namespace orv::course_list_model_test
