#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/testing/SeededRandom.h>

#include "ListView.h"
#include "Owned.h"
#include <tests/support/ChangingSchool.h>
#include <tests/support/SchoolClientFixture.h>

#include <orvnetwork_glib/CourseListModel.h>

#include <cstddef>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

namespace orv::list_walk_test {
namespace {

/// Models of the lists of a server whose courses change all the time, with a view at each.
class GlibListWalk : public SchoolClientFixture, public ::testing::WithParamInterface<std::uint64_t> {
 protected:
  struct Watched {
    explicit Watched(CourseList list) : model(glib::newCourseListModel(std::move(list))), view(model.get()) {}
    Owned<OrvCourseListModel> model;
    ListView view;
  };

  GlibListWalk() : SchoolClientFixture(GetParam()), random(GetParam()) {
    signIn();
    for (int i = 0; i < 50; ++i) courses.add();
  }

  /// A handler that runs a loop of its own, as a dialogue does.
  static void runLoop(GListModel*, guint, guint, guint, gpointer data) {
    auto* const self = static_cast<GlibListWalk*>(data);
    if (self->loops == 3 || !self->random.oneIn(6)) return;
    ++self->loops;
    for (auto left = self->random.below(60); left > 0 && self->platform.step(); --left) {
    }
    --self->loops;
  }
  void step() {
    if (random.oneIn(40)) {
      platform.server().cutAll();
      return runFor(static_cast<double>(random.below(20)));
    }
    if (random.oneIn(2)) return courses.change();
    auto* const model = models[static_cast<std::size_t>(random.below(models.size()))]->model.get();
    if (random.oneIn(2)) {
      orv_course_list_model_refresh(model);
    } else {
      orv_course_list_model_load_more(model);
    }
    runFor(static_cast<double>(random.below(100)) / 100);
  }

  testing::SeededRandom random;
  test::ChangingSchool courses{school, random};
  std::vector<std::unique_ptr<Watched>> models;
  int loops = 0;
};

TEST_P(GlibListWalk, ModelsFollowTheServerAndKeepTheirObjects) {
  for (std::uint64_t status = 0; status < 4; ++status) {
    models.push_back(
        std::make_unique<Watched>(status == 0 ? CourseList::recorded() : CourseList::live(status)));
    g_signal_connect(models.back()->model.get(), "items-changed", G_CALLBACK(runLoop), this);
  }
  const auto steps = test::numberFromEnvironment("ORV_WALK_STEPS", 1'500);
  for (std::uint64_t i = 0; i < steps && !HasFailure(); ++i) step();
  ASSERT_FALSE(HasFailure()) << "seed " << GetParam();

  runFor(180);
  auto fresh = CourseList::recorded();
  for (int load = 0; load < 50 && !(flagOf(models[0]->model.get(), "at-end") && fresh.atEnd()); ++load) {
    orv_course_list_model_load_more(models[0]->model.get());
    fresh.loadMore();
    runFor(1);
  }
  orv_course_list_model_refresh(models[0]->model.get());
  fresh.refresh();
  runFor(10);
  ASSERT_TRUE(fresh.atEnd());
  EXPECT_EQ(models[0]->view.rooms(), fresh.keys());

  int changes = 0, splices = 0, updates = 0;
  for (const auto& watched : models) {
    changes += watched->view.changes;
    splices += watched->view.splices;
    updates += watched->view.updates;
  }
  std::cout << "seed " << GetParam() << ": " << changes << " changes, " << splices << " of them splices, "
            << updates << " updates\n";
  EXPECT_GT(changes, 0);
  EXPECT_GT(splices, 0);
  EXPECT_GT(updates, 0);
  models.clear();
}

INSTANTIATE_TEST_SUITE_P(Seeds, GlibListWalk, ::testing::Range<std::uint64_t>(1, 5));

}  // namespace
}  // namespace orv::list_walk_test
