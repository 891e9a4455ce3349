#include "orvnetwork/course/detail/LocalTurn.h"

#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/platform/Platform.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace orv {

namespace {

constexpr std::chrono::seconds kPauseBeforeNextTry{1};

/// False when the file is that of a catalogue that has been left.
bool writeListed(Catalogue& catalogue, const std::shared_ptr<KeyFile>& file) {
  const auto isPresent = [&] { return catalogue.local.files().list() == file; };
  if (!isPresent()) return false;
  // The other program may still keep the lock.
  const LocalChange change(catalogue);
  if (!isPresent()) return false;
  catalogue.local.saveLists();
  return true;
}

/// Writes a list that could not be written, until that is done; that of a catalogue that has been left too.
void writeLater(Catalogue& catalogue, const std::shared_ptr<KeyFile>& file) {
  Platform& platform = Platform::current();
  platform.delays().runAt(platform.clock().steadyNow() + kPauseBeforeNextTry, *catalogue.workers.load(),
                          [&catalogue, file] {
                            file->unclaim();
                            if (!file->isUnwritten() || writeListed(catalogue, file)) return;
                            file->writeUnwritten();
                            if (file->claimUnwritten()) writeLater(catalogue, file);
                          });
}

}  // namespace

LocalTurn::LocalTurn(Catalogue& catalogue) : catalogue_(catalogue), file_(catalogue.local.files().list()) {
  if (file_ == nullptr) return;
  file_->beginTurn();
  const auto gone = catalogue.local.takeOverChanges();
  if (!gone) return;
  for (const std::string& key : *gone) catalogue.forget(key, true);
  // Nobody else tells of these: what this turn is for may concern another course, or none.
  catalogue.tell({.what = CourseChange::What::All, .list = {CourseListKind::Local}});
}

LocalTurn::~LocalTurn() {
  if (file_ == nullptr) return;
  file_->endTurn();
  if (file_->claimUnwritten()) writeLater(catalogue_, file_);
}

LocalTurnsAhead::LocalTurnsAhead(Catalogue& catalogue) : catalogue_(catalogue), opened_(catalogue.opened()) {
  catalogue.ensureLoaded();
  file_ = catalogue.local.files().list();
  if (file_) file_->beginTurns();
}

LocalTurnsAhead::~LocalTurnsAhead() {
  if (file_) file_->endTurns();
}

LocalChange::LocalChange(Catalogue& catalogue) {
  do {
    held_.reset();
    ahead_.emplace(catalogue);
    held_.emplace(catalogue);
  } while (!ahead_->areOfThePresent());
  turn_.emplace(catalogue);
}

std::int64_t LocalTurn::freeNumber(std::int64_t from) const {
  // More than a program can have asked for in a second; a lock that always refuses must not hold anybody up.
  constexpr int kMostRefusals = 10'000;
  std::int64_t roomID = from;
  for (int refusals = 0;; ++roomID) {
    if (catalogue_.local.contains(courseKey(roomID))) continue;
    if (file_ == nullptr || refusals == kMostRefusals) return roomID;
    if (file_->reserve(static_cast<std::uint64_t>(roomID))) return roomID;
    ++refusals;
  }
}

}  // namespace orv
