#include "HerdVisitor.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/LooseRead.h>

#include <cstddef>
#include <stdexcept>

namespace orv {

namespace {

constexpr std::size_t kCourses = 40;
constexpr Seconds kSignsInWithin{10};

}  // namespace

HerdVisitor::HerdVisitor(testing::SimulatedPlatform& platform, Client& client)
    : platform_(platform), client_(client), school_(platform) {
  school_.addUser("13800000001", "secret");
  school_.addCourses(kCourses, {{"liveType", 2}});
}

void HerdVisitor::signIn() {
  bool isSignedIn = false;
  signing_ =
      client_.session().signIn("13800000001", "secret").then([&isSignedIn](const SignInResult& result) {
        isSignedIn = bool(result);
      });
  list_ = std::make_unique<CourseList>(CourseList::recorded());
  // A list that somebody looks at.
  looked_ = list_->onChanged([](const CourseListChange&) {});
  const bool isRead = platform_.runUntil(
      [&] {
        if (isSignedIn && list_->canLoadMore()) list_->loadMore();
        return isListWhole();
      },
      kSignsInWithin);
  signing_ = PendingCallback();
  if (!isRead) throw std::runtime_error("the list was not read");
}

void HerdVisitor::tell(HerdLife& life, SteadyTime since) const {
  for (const auto& frame : platform_.server().frames()) {
    const auto read = parseJson(frame.text);
    const json::object* const request = read ? looseObject(&*read) : nullptr;
    if (request == nullptr || frame.time < since) continue;
    const auto command = looseStringView(member(request, "c")).value_or("");
    const double time = Seconds(frame.time - since).count();
    if (command == "User.Post.Session") life.renewals.push_back(time);
    const bool isFirstPage = looseInt64(member(looseObject(member(request, "v")), "start")) == 1;
    if (command == "Course.Get.Items" && isFirstPage) life.reloads.push_back(time);
  }
}

bool HerdVisitor::isListWhole() const {
  return list_->atEnd() && list_->size() == kCourses;
}

}  // namespace orv
