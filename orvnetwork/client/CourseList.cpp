#include "orvnetwork/client/CourseList.h"

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/detail/CourseListCore.h>

#include <utility>

namespace orv {

using detail::CourseListCore;
using detail::expectMainThread;

CourseList CourseList::recorded() {
  return CourseList(CourseListCore::make({CourseListKind::Recorded}));
}

CourseList CourseList::live(std::uint64_t status) {
  return CourseList(CourseListCore::make({CourseListKind::Live, status}));
}

CourseList CourseList::local() {
  return CourseList(CourseListCore::make({CourseListKind::Local}));
}

CourseList::CourseList(std::shared_ptr<CourseListCore> core) noexcept : core_(std::move(core)) {}
CourseList::CourseList(CourseList&& other) noexcept = default;

CourseList& CourseList::operator=(CourseList&& other) noexcept {
  const CourseList replaced(std::exchange(core_, std::move(other.core_)));
  return *this;
}

CourseList::~CourseList() {
  if (!core_) return;
  expectMainThread("a CourseList");
  core_->close();
}

std::size_t CourseList::size() const {
  return rows()->size();
}

CourseRows::Row CourseList::at(std::size_t index) const {
  return rows()->at(index);
}

std::optional<std::size_t> CourseList::indexOf(std::int64_t roomID) const {
  return rows()->indexOf(roomID);
}

std::vector<std::int64_t> CourseList::keys() const {
  return rows()->keys();
}

CourseRowsPointer CourseList::rows() const {
  expectMainThread("CourseList::rows");
  return core_->rows();
}

const CourseListState& CourseList::state() const {
  expectMainThread("CourseList::state");
  return core_->state();
}

void CourseList::loadMore() {
  expectMainThread("CourseList::loadMore");
  core_->loadMore();
}

void CourseList::refresh() {
  expectMainThread("CourseList::refresh");
  core_->refresh();
}

Pending<> CourseList::whenStored() {
  expectMainThread("CourseList::whenStored");
  return core_->whenStored();
}

Subscription CourseList::onChanged(std::function<void(const CourseListChange&)> callback) {
  expectMainThread("CourseList::onChanged");
  return core_->onChanged(std::move(callback));
}

}  // namespace orv
