#include "orvnetwork/course/detail/Catalogue.h"

#include <orvnetwork/course/CourseLimits.h>
#include <orvnetwork/course/detail/PageRequest.h>
#include <orvnetwork/course/detail/RequestList.h>
#include <orvnetwork/platform/Platform.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

namespace orv {

void Catalogue::observe(ObserverToken token) {
  const std::lock_guard lock(observing_);
  observers_.push_back(std::move(token));
}

Catalogue::Forgotten Catalogue::open(std::string base, std::int64_t userID) {
  Forgotten forgotten{.requests = {}, .courses = std::make_shared<CourseCollections>()};
  const std::lock_guard lock(opening_);
  swapContents(*forgotten.courses);
  forgotten.requests = paging.requests.set({});
  RequestList::Entries liveOnes = livePaging.requests.set({});
  std::move(liveOnes.begin(), liveOnes.end(), std::back_inserter(forgotten.requests));
  for (Paging* kind : {&paging, &livePaging}) kind->repeats.reset();
  base_ = std::move(base);
  userID_ = userID;
  ++opened_;
  loadPending_ = true;
  return forgotten;
}

bool Catalogue::belongsTo(std::int64_t userID, std::uint64_t opened) const {
  const std::lock_guard lock(opening_);
  return opened_ == opened && userID_ == userID;
}

PageProgress Catalogue::progressAfter(Paging& kind, const PageLoad& load, bool lastPage,
                                      RequestList::Entries& left) {
  if (opened_ == load.opened) return {load.page, lastPage, load.retriesLeft};
  // Pages are asked for in the name of the oldest one only.
  if (const RequestList::Entry first = kind.requests.first()) {
    left.push_back(kind.requests.noteEndIndex(first, std::nullopt));
  }
  return {.retriesLeft = MaxRetryCount};
}

void Catalogue::startLoad(Paging& kind, const WantedPage& wanted, Load load) {
  const Seconds pause = wanted.startsPass ? Seconds(0) : kind.repeats.pauseBefore(wanted.page, wanted.status);
  if (pause == Seconds(0)) {
    kind.repeats.cancelWait();
    workers.load()->post([wanted, load = std::move(load)] { load(wanted); });
    return;
  }
  const std::optional<std::uint64_t> ticket = kind.repeats.wait();
  if (!ticket) return;
  Platform& platform = Platform::current();
  const auto when = platform.clock().steadyNow() + std::chrono::duration_cast<SteadyTime::duration>(pause);
  platform.delays().runAt(when, *workers.load(), [this, &kind, ticket, wanted, load = std::move(load)] {
    std::optional<WantedPage> still;
    {
      const CatalogueLock lock(*this);
      if (!kind.repeats.endWait(*ticket)) return;
      still = wantedByNow(kind, wanted);
    }
    if (still) load(*still);
  });
}

std::optional<WantedPage> Catalogue::wantedByNow(const Paging& kind, const WantedPage& chosen) const {
  const RequestList::Entry first = kind.requests.first();
  if (first == nullptr) return std::nullopt;
  const bool isLive = &kind == &livePaging;
  const std::uint64_t status = isLive ? first->status.value_or(0) : 0;
  WantedPage wanted = chosen;
  wanted.isForced = first->force;
  wanted.ended = kind.ended;
  if (const auto page = chosenPage(*first, isLive ? live.size(status) : cloud.size())) {
    wanted.page = *page;
    wanted.status = status;
  }
  return wanted;
}

void Catalogue::ensureLoaded() {
  if (!loadPending_) return;
  const Console::Hold console;
  const std::lock_guard lock(loading_);
  while (loadPending_) {
    std::uint64_t opened = 0;
    std::string base;
    {
      const std::lock_guard opening(opening_);
      opened = opened_;
      base = base_;
    }
    // Read apart: what is in use can be changed for another catalogue meanwhile without waiting.
    CourseCollections loaded;
    loaded.load(base);
    const std::lock_guard opening(opening_);
    if (opened != opened_) continue;
    follow(loaded);
    loadPending_ = false;
  }
}

}  // namespace orv
