#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/testing/SeededRandom.h>

#include "ModelView.h"
#include "SchoolFixture.h"
#include <tests/support/ChangingSchool.h>

#include <orvnetwork_qt/CourseListModel.h>

#include <QAbstractItemModelTester>
#include <algorithm>
#include <array>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv::model_walk_test {
namespace {

using qt::CourseListModel;
using Rooms = std::vector<std::int64_t>;

/// Models of all lists under a server whose courses change all the time, with Qt's own tester and a view at each. The
/// tester ends the program at the first breach.
class QtModelWalk : public SchoolFixture, public ::testing::WithParamInterface<std::uint64_t> {
 protected:
  struct Watched {
    explicit Watched(CourseList list)
        : model(std::move(list)),
          tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal),
          view(model) {
      tester.setUseFetchMore(false);
    }
    CourseListModel model;
    QAbstractItemModelTester tester;
    ModelView view;
  };

  QtModelWalk() : SchoolFixture(GetParam()), random(GetParam()) {
    signIn();
    for (int i = 0; i < 50; ++i) courses.add();
  }

  std::size_t pick(std::size_t below) { return static_cast<std::size_t>(random.below(below)); }

  /// Slots that run loops of their own, as dialogues do.
  std::unique_ptr<Watched> watch(CourseList list) {
    auto watched = std::make_unique<Watched>(std::move(list));
    auto* const model = &watched->model;
    const auto maybeRunLoop = [this] { runLoop(); };
    QObject::connect(model, &CourseListModel::rowsInserted, model, maybeRunLoop);
    QObject::connect(model, &CourseListModel::rowsRemoved, model, maybeRunLoop);
    QObject::connect(model, &CourseListModel::phaseChanged, model, maybeRunLoop);
    return watched;
  }
  void runLoop() {
    if (loops == 3 || !random.oneIn(6)) return;
    ++loops;
    for (auto left = pick(60); left > 0 && platform.step(); --left) {
    }
    --loops;
  }
  void useModel(CourseListModel& model) {
    if (random.oneIn(2)) return model.refresh();
    if (model.canFetchMore({})) return model.fetchMore({});
    if (random.oneIn(10)) model.loadMore();
  }
  void changeLocalCourses() {
    if (random.oneIn(3) && models.back()->model.count() > 0) {
      const auto row = static_cast<int>(pick(static_cast<std::size_t>(models.back()->model.count())));
      local.remove(models.back()->model.course(row)->roomID).detach();
    } else {
      local.create({{"title", "本机 " + std::to_string(pick(100))}, {"intro", "x"}}).detach();
    }
  }
  void step() {
    switch (pick(40)) {
      case 0:
        platform.server().cutAll();
        return runFor(static_cast<double>(pick(20)));
      case 1:
        school.refuse("", 5, "walk", 1);
        return;
      case 2:
      case 3:
        return changeLocalCourses();
      default:
        break;
    }
    if (random.oneIn(2)) return courses.change();
    useModel(models[pick(models.size())]->model);
    if (random.oneIn(2)) {
      for (auto left = pick(20); left > 0 && platform.step(); --left) {
      }
    } else {
      runFor(static_cast<double>(pick(100)) / 100);
    }
  }
  /// What the server lists, in its order, by a list that has just come.
  void compare(Watched& watched, CourseList fresh) {
    watched.model.refresh();
    settle();
    for (int load = 0; load < 50 && !watched.model.atEnd(); ++load) {
      watched.model.loadMore();
      runFor(1);
    }
    ASSERT_TRUE(watched.model.atEnd()) << watched.model.errorText().toStdString();
    fresh.refresh();
    settle();
    for (int load = 0; load < 50 && !fresh.atEnd(); ++load) {
      fresh.loadMore();
      runFor(1);
    }
    Rooms shown;
    for (int row = 0; row < watched.model.rowCount(); ++row) {
      shown.push_back(watched.model.course(row)->roomID);
    }
    EXPECT_EQ(shown, fresh.keys());
    watched.view.compareAll();
  }

  testing::SeededRandom random;
  test::ChangingSchool courses{school, random};
  LocalCourses local;
  std::vector<std::unique_ptr<Watched>> models;
  int loops = 0;
};

TEST_P(QtModelWalk, ModelsFollowTheServerAndBreakNoRule) {
  for (std::uint64_t status = 0; status < 4; ++status) {
    models.push_back(watch(status == 0 ? CourseList::recorded() : CourseList::live(status)));
  }
  models.push_back(watch(CourseList::local()));
  const auto steps = test::numberFromEnvironment("ORV_WALK_STEPS", 1'500);
  for (std::uint64_t i = 0; i < steps && !HasFailure(); ++i) step();
  ASSERT_FALSE(HasFailure()) << "seed " << GetParam();

  school.clearFaults();
  runFor(180);
  for (const auto& watched : models) watched->view.compareAll();
  compare(*models[0], CourseList::recorded());
  for (std::uint64_t status = 1; status < 4; ++status) compare(*models[status], CourseList::live(status));
  compare(*models[4], CourseList::local());

  int moves = 0, layouts = 0, updates = 0;
  for (const auto& watched : models) {
    moves += watched->view.moves;
    layouts += watched->view.layouts;
    updates += watched->view.updates;
  }
  std::cout << "seed " << GetParam() << ": " << moves << " moves, " << layouts << " layouts, " << updates
            << " updates\n";
  EXPECT_GT(moves, 0);
  EXPECT_GT(layouts, 0);
  EXPECT_GT(updates, 0);
}

INSTANTIATE_TEST_SUITE_P(Seeds, QtModelWalk, ::testing::Range<std::uint64_t>(1, 5));

}  // namespace
}  // namespace orv::model_walk_test
