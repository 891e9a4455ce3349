#include "orvnetwork/client/detail/CoursePass.h"

#include <orvnetwork/course/CourseStore.h>

#include <algorithm>
#include <utility>

namespace orv::detail {

CoursePass::CoursePass(std::shared_ptr<CoursePageReader> reader, CoursePassPlan plan,
                       std::function<void(CoursePassEnd)> done)
    : reader_(std::move(reader)), plan_(std::move(plan)), done_(std::move(done)) {
  read_ = plan_.kept;
  readNext();
}

CoursePass::~CoursePass() {
  stop();
}

void CoursePass::stop() {
  if (reader_) reader_->cancel();
  reader_ = nullptr;
}

void CoursePass::readNext() {
  reader_->read(read_.size() + 1, plan_.base, [this](CoursePagePointer page, auto error) {
    error ? fail(std::move(*error)) : pageCame(std::move(page));
  });
}

void CoursePass::pageCame(CoursePagePointer page) {
  const auto isKnown = [this](const auto& item) { return isSeen(item.roomID); };
  const bool isFirst = read_.empty();
  if (isLastSweep()) {
    // A server that gives the same courses on every page has no end.
    const bool isOver = !page->isFull || std::ranges::all_of(page->items, isKnown);
    page = withoutSeen(std::move(page));
    note(*page);
    read_.push_back(std::move(page));
    return isOver ? finish(true) : goOn();
  }
  if (std::ranges::any_of(page->items, isKnown)) return sweepAnew();
  note(*page);
  read_.push_back(std::move(page));
  if (isFirst || isExplained()) return goOn();
  reader_->read(read_.size() - 1, plan_.base, [this](CoursePagePointer again, auto error) {
    error ? fail(std::move(*error)) : pageCameAgain(std::move(again));
  });
}

void CoursePass::pageCameAgain(CoursePagePointer page) {
  CoursePagePointer& before = read_[read_.size() - 2];
  if (!CoursePage::sameRooms(*page, *before) || page->isFull != before->isFull) return sweepAnew();
  before = std::move(page);
  goOn();
}

void CoursePass::goOn() {
  // A further page that is full of what is no course has nothing behind it.
  const bool isFurther = read_.size() > 1;
  if (!read_.back()->isFull || (isFurther && read_.back()->items.empty())) return finish(true);
  if (read_.size() >= plan_.pages + kMostFurtherPages) return finish(false);
  std::size_t rows = 0;
  for (const CoursePagePointer& page : read_) rows += page->rows();
  if (plan_.toEnd || read_.size() < plan_.pages || rows < plan_.rows) return readNext();
  finish(false);
}

void CoursePass::sweepAnew() {
  ++sweep_;
  read_.clear();
  seen_.clear();
  readNext();
}

bool CoursePass::isExplained() const {
  const auto hasCourse = [](const CourseStore::Read& read) { return read.course != nullptr; };
  const auto& before = read_[read_.size() - 2]->items;
  const auto last = std::find_if(before.rbegin(), before.rend(), hasCourse);
  const auto lastPlace = last != before.rend() ? plan_.base->indexOf(last->roomID) : std::nullopt;
  if (!lastPlace) return false;
  const CoursePage& page = *read_.back();
  if (page.items.empty()) return !page.isFull && plan_.baseIsWhole && *lastPlace + 1 == plan_.base->size();
  const auto first = std::ranges::find_if(page.items, hasCourse);
  return first != page.items.end() && plan_.base->indexOf(first->roomID) == *lastPlace + 1;
}

CoursePagePointer CoursePass::withoutSeen(CoursePagePointer page) const {
  const auto isKnown = [this](const auto& item) { return isSeen(item.roomID); };
  if (std::ranges::none_of(page->items, isKnown)) return page;
  auto rest = std::make_shared<CoursePage>(*page);
  std::erase_if(rest->items, isKnown);
  return rest;
}

void CoursePass::note(const CoursePage& page) {
  for (const auto& item : page.items) seen_.insert(item.roomID);
}

bool CoursePass::isSeen(std::int64_t roomID) const {
  if (seen_.contains(roomID)) return true;
  return sweep_ == 0 && !plan_.kept.empty() && plan_.base->indexOf(roomID).has_value();
}

void CoursePass::finish(bool isWhole) {
  const auto done = std::exchange(done_, nullptr);
  done({.pages = std::move(read_), .isWhole = isWhole, .error = std::nullopt});
}

void CoursePass::fail(CourseListError error) {
  const auto done = std::exchange(done_, nullptr);
  done({.pages = {}, .isWhole = false, .error = std::move(error)});
}

}  // namespace orv::detail
