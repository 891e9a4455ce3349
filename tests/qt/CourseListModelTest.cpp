#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/testing/ConnectPlan.h>

#include "ModelView.h"
#include "SchoolFixture.h"

#include <orvnetwork_qt/CourseListModel.h>

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv::course_list_model_test {
namespace {

using qt::CourseListModel;
using Rooms = std::vector<std::int64_t>;

class QtCourseListModel : public SchoolFixture {
 protected:
  QtCourseListModel() { signIn(); }

  std::size_t requests(std::string_view command = "Course.Get.Items") const {
    return static_cast<std::size_t>(std::ranges::count_if(platform.server().frames(), [&](const auto& frame) {
      return frame.text.find(command) != std::string::npos;
    }));
  }
  static Rooms roomsOf(const CourseListModel& model) {
    Rooms rooms;
    for (int row = 0; row < model.rowCount(); ++row) {
      rooms.push_back(model.index(row).data(CourseListModel::RoomIDRole).toLongLong());
    }
    return rooms;
  }
  void loadAll(CourseListModel& model) {
    for (int load = 0; load < 50 && model.canFetchMore({}); ++load) {
      model.fetchMore({});
      settle();
    }
    ASSERT_TRUE(model.atEnd());
  }
};

TEST_F(QtCourseListModel, FillsWhileAViewAsksForMore) {
  school.addCourses(70, {{"liveType", 2}, {"status", 5}});
  CourseListModel model(CourseList::recorded());
  settle();
  for (const int rows : {30, 60, 70}) {
    ASSERT_TRUE(model.canFetchMore({}));
    model.fetchMore({});
    EXPECT_TRUE(model.isLoading());
    EXPECT_FALSE(model.canFetchMore({})) << "while rows are on their way";
    settle();
    EXPECT_EQ(model.count(), rows);
  }
  EXPECT_TRUE(model.atEnd());
  EXPECT_FALSE(model.canFetchMore({}));
  const auto before = requests();
  model.fetchMore({});
  settle();
  EXPECT_EQ(requests(), before) << "it asked behind the end";
}

TEST_F(QtCourseListModel, AViewDoesNotAskAgainAfterAFailureAndAPersonCan) {
  school.addCourses(3, {{"liveType", 2}, {"status", 5}});
  CourseListModel model(CourseList::recorded());
  settle();
  int phases = 0;
  QObject::connect(&model, &CourseListModel::phaseChanged, [&] { ++phases; });
  school.refuse("Course.Get.Items", 5, "no lists today");
  model.fetchMore({});
  settle();
  EXPECT_EQ(model.phase(), CourseListModel::Failed);
  EXPECT_EQ(model.errorText(), "no lists today");
  EXPECT_EQ(model.errorKind(), "Refused");
  EXPECT_GE(phases, 1);
  EXPECT_FALSE(model.canFetchMore({}));
  const auto before = requests();
  model.fetchMore({});
  settle();
  EXPECT_EQ(requests(), before) << "a view asked by itself";
  school.clearFaults();
  model.loadMore();
  settle();
  EXPECT_EQ(model.count(), 3);
  EXPECT_EQ(model.errorText(), "");
  EXPECT_EQ(model.errorKind(), "");
  EXPECT_EQ(model.phase(), CourseListModel::End);
}

TEST_F(QtCourseListModel, RolesTellWhatACourseHas) {
  const auto room = school.addCourse({{"liveType", 1},
                                      {"status", 1},
                                      {"title", "代数"},
                                      {"teacher", "林老师"},
                                      {"intro", "x²"},
                                      {"coverUrl", "http://a.test/c.png"},
                                      {"startTimeEnable", 1},
                                      {"startTime", 1700000000},
                                      {"addtime", 1600000000},
                                      {"viewCnt", 12},
                                      {"enrolmentCnt", 34},
                                      {"coursePrice", 2.5},
                                      {"publishStatus", 1},
                                      {"videoUrl", "http://a.test/v"}});
  CourseListModel model(CourseList::live(1));
  settle();
  loadAll(model);
  ASSERT_EQ(model.count(), 1);
  const QModelIndex row = model.index(0);
  EXPECT_EQ(row.data().toString(), "代数");
  const auto names = model.roleNames();
  const auto role = [&](const char* name) { return row.data(names.key(name)); };
  EXPECT_EQ(role("title").toString(), "代数");
  EXPECT_EQ(role("roomID").toLongLong(), room);
  EXPECT_EQ(role("teacher").toString(), "林老师");
  EXPECT_EQ(role("intro").toString(), "x²");
  EXPECT_EQ(role("coverUrl").toString(), "http://a.test/c.png");
  EXPECT_EQ(role("status").toInt(), 1);
  EXPECT_EQ(role("liveType").toInt(), 1);
  EXPECT_EQ(role("startTime").toDateTime().toSecsSinceEpoch(), 1700000000);
  EXPECT_EQ(role("addTime").toDateTime().toSecsSinceEpoch(), 1600000000);
  EXPECT_EQ(role("viewCount").toInt(), 12);
  EXPECT_EQ(role("enrolmentCount").toInt(), 34);
  EXPECT_EQ(role("price").toDouble(), 2.5);
  EXPECT_EQ(role("publishStatus").toInt(), 1);
  EXPECT_EQ(role("cloudRoomID").toInt(), 0);
  EXPECT_FALSE(role("local").toBool());
  EXPECT_EQ(role("replayUrl").toString(), "http://a.test/v");
  EXPECT_EQ(model.rowOf(room), 0);
  EXPECT_EQ(model.rowOf(room + 1), -1);
  EXPECT_EQ(model.course(0)->roomID, room);
  EXPECT_EQ(model.course(1), nullptr);
  EXPECT_EQ(model.course(-1), nullptr);

  school.changeCourse(room, {{"startTimeEnable", 0}, {"teacher", ""}, {"nick", "小林"}});
  model.refresh();
  settle();
  EXPECT_FALSE(role("startTime").toDateTime().isValid()) << "no time is set";
  EXPECT_EQ(role("teacher").toString(), "小林");
}

TEST_F(QtCourseListModel, ASelectionStaysOnItsCourseThroughMovesAndANewLayout) {
  const auto made = school.addCourses(20, {{"liveType", 2}, {"status", 5}});
  CourseListModel model(CourseList::recorded());
  const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  const ModelView view(model);
  settle();
  loadAll(model);
  std::vector<QPersistentModelIndex> held;
  for (int row = 0; row < model.rowCount(); ++row) held.emplace_back(model.index(row));
  const Rooms before = roomsOf(model);
  const auto check = [&] {
    for (std::size_t i = 0; i < held.size(); ++i) {
      ASSERT_TRUE(held[i].isValid());
      EXPECT_EQ(held[i].data(CourseListModel::RoomIDRole).toLongLong(), before[i]);
    }
  };

  Rooms order = before;
  std::rotate(order.begin() + 3, order.begin() + 4, order.begin() + 16);  // downwards
  school.setListOrder(order);
  model.refresh();
  settle();
  EXPECT_EQ(roomsOf(model), order);
  EXPECT_EQ(view.moves, 1);
  check();

  std::rotate(order.begin() + 2, order.begin() + 11, order.begin() + 12);  // upwards
  school.setListOrder(order);
  model.refresh();
  settle();
  EXPECT_EQ(roomsOf(model), order);
  EXPECT_EQ(view.moves, 2);
  EXPECT_EQ(view.layouts, 0);
  check();

  std::ranges::reverse(order);
  school.setListOrder(order);
  model.refresh();
  settle();
  EXPECT_EQ(roomsOf(model), order);
  EXPECT_EQ(view.moves, 2);
  EXPECT_EQ(view.layouts, 1);
  check();
}

TEST_F(QtCourseListModel, OnlyWhatHasAnotherContentIsToldAsChanged) {
  const auto made = school.addCourses(5, {{"liveType", 2}, {"status", 5}});
  CourseListModel model(CourseList::recorded());
  settle();
  loadAll(model);
  std::vector<std::pair<int, int>> changed;
  QObject::connect(&model, &CourseListModel::dataChanged,
                   [&](const QModelIndex& first, const QModelIndex& last) {
                     changed.emplace_back(first.row(), last.row());
                   });
  school.changeCourse(made[1], {{"title", "Geometry"}});
  model.refresh();
  settle();
  const int row = model.rowOf(made[1]);
  EXPECT_EQ(changed, (std::vector<std::pair<int, int>>{{row, row}}));
  EXPECT_EQ(model.index(row).data().toString(), "Geometry");
}

TEST_F(QtCourseListModel, LocalCoursesComeAndGoAtOnce) {
  CourseListModel model(CourseList::local());
  const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  const ModelView view(model);
  settle();
  LocalCourses courses;
  std::int64_t room = 0;
  const auto making = courses.create({{"title", "Algebra"}}).then([&](const LocalCourses::Answer& made) {
    room = made.value()->roomID;
  });
  settle();
  ASSERT_EQ(model.count(), 1);
  EXPECT_EQ(view.counts, 1);
  EXPECT_TRUE(model.index(0).data(CourseListModel::LocalRole).toBool());
  EXPECT_EQ(model.index(0).data(CourseListModel::RoomIDRole).toLongLong(), room);
  EXPECT_EQ(model.index(0).data(CourseListModel::PublishStatusRole).toInt(), 99);
  const auto removing = courses.remove(room).then([](const auto&) {});
  settle();
  EXPECT_EQ(model.count(), 0);
  EXPECT_EQ(view.counts, 2);
}

TEST_F(QtCourseListModel, ASlotMayDestroyTheModel) {
  school.addCourses(3, {{"liveType", 2}, {"status", 5}});
  auto model = std::make_unique<CourseListModel>(CourseList::recorded());
  QObject::connect(model.get(), &CourseListModel::rowsInserted, [&] { model.reset(); });
  settle();
  model->loadMore();
  settle();
  EXPECT_EQ(model, nullptr);

  model = std::make_unique<CourseListModel>(CourseList::recorded());
  settle();
  QObject::connect(model.get(), &CourseListModel::rowsRemoved, [&] { model.reset(); });
  client->session().signOut().detach();
  runFor(10);
  EXPECT_EQ(model, nullptr);
}

TEST_F(QtCourseListModel, ALostLinkIsAFailureUntilItIsBack) {
  school.addCourses(40, {{"liveType", 2}, {"status", 5}});
  CourseListModel model(CourseList::recorded());
  settle();
  model.loadMore();
  settle();
  ASSERT_EQ(model.count(), 30);
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  platform.server().cutAll();
  runFor(1);
  model.loadMore();
  runFor(60);
  EXPECT_EQ(model.phase(), CourseListModel::Failed);
  EXPECT_EQ(model.errorKind(), "NoLink");
  EXPECT_EQ(model.count(), 30) << "a failure keeps the rows";
  platform.network().setDefaultPlan(testing::ConnectPlan::accept());
  runFor(120);
  EXPECT_NE(model.phase(), CourseListModel::Failed);
  EXPECT_EQ(model.errorKind(), "");
  loadAll(model);
  EXPECT_EQ(model.count(), 40);
}

}  // namespace
}  // namespace orv::course_list_model_test
