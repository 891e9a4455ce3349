#pragma once

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "../course/PagingFixture.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace orv {

/// A list of courses with a view that follows it as views do: by its changes alone.
class CourseListFixture : public PagingFixture {
 protected:
  /// Shows what it was told, and checks that this is right.
  class View {
   public:
    explicit View(CourseList& list) : list_(list) {
      const auto rows = list.rows()->all();
      rows_.assign(rows.begin(), rows.end());
      seen_ = list.onChanged([this](const CourseListChange& change) { take(change); });
    }

    const std::vector<CourseListChange>& changes() const { return changes_; }
    void forget() { changes_.clear(); }
    /// Of the changes that were told, those of the rows.
    std::size_t rowChanges() const {
      return static_cast<std::size_t>(
          std::ranges::count_if(changes_, [](const auto& change) { return change.changesRows(); }));
    }
    /// The phases that it was told, one after another.
    Strings phases() const {
      Strings phases;
      for (const auto& change : changes_) {
        const std::string phase(nameOf(change.state.phase));
        if (phases.empty() || phases.back() != phase) phases.push_back(phase);
      }
      return phases;
    }
    bool shows(std::span<const CourseRows::Row> rows) const { return std::ranges::equal(rows_, rows); }
    /// Whether it may be told of what the list has left behind: it runs a loop of its own.
    bool mayLag = false;
    /// Whether the list was loading already when it came: that is not told then.
    bool cameLate = false;
    /// Called with each change, after it was taken.
    std::function<void(const CourseListChange&)> also;

   private:
    void take(const CourseListChange& change) {
      EXPECT_TRUE(std::ranges::equal(rows_, change.before->all())) << "a change begins with other rows";
      EXPECT_TRUE(cameLate || change.stateBefore == state_);
      apply(change, rows_);
      EXPECT_TRUE(std::ranges::equal(rows_, change.after->all())) << "a change leads to other rows";
      EXPECT_TRUE(mayLag || list_.rows() == change.after) << "the list shows other rows than it tells";
      EXPECT_NE(change.changesRows() || change.state != change.stateBefore, false) << "a change of nothing";
      state_ = change.state;
      changes_.push_back(change);
      if (also) also(change);
    }

    CourseList& list_;
    std::vector<CourseRows::Row> rows_;
    CourseListState state_ = list_.state();
    std::vector<CourseListChange> changes_;
    Subscription seen_;
  };

  using Rooms = std::vector<std::int64_t>;
  static Rooms rooms(std::int64_t from, std::int64_t to) {
    Rooms rooms;
    for (std::int64_t room = from; from < to ? room <= to : room >= to; room += from < to ? 1 : -1) {
      rooms.push_back(room);
    }
    return rooms;
  }
  /// The rooms that a list of the server has, those left out that are passed over.
  static Rooms serverRooms(const json::array& items) {
    Rooms rooms;
    for (const json::value& item : items) {
      const auto status = item.at("status").to_number<std::int64_t>();
      if (status != course_status::kWithdrawn) rooms.push_back(item.at("roomID").to_number<std::int64_t>());
    }
    return rooms;
  }
  static Rooms stored() {
    Rooms rooms;
    for (const auto& key : courses().cloudCourseList()) rooms.push_back(std::stoll(key));
    return rooms;
  }
  static void changeUser(std::string uID, std::string classroom = "5001") {
    QXUserInfoMgr::getInstance().setUserInfo(makeUser(std::move(uID), std::move(classroom)));
  }
  void loadAll(CourseList& list) {
    for (int load = 0; load < 1000 && list.canLoadMore(); ++load) {
      list.loadMore();
      settle();
    }
    EXPECT_TRUE(list.atEnd());
  }
  /// Signs a user in whose server lists that many recorded courses, and gives a list that has all of them.
  CourseList loadedList(std::int64_t count) {
    signIn();
    listRooms(count, 1);
    auto list = CourseList::recorded();
    loadAll(list);
    return list;
  }
  static json::array items(std::int64_t from, std::int64_t to) {
    json::array items;
    for (std::int64_t room = from; room >= to; --room) items.push_back(courseItem(room));
    return items;
  }
};

}  // namespace orv
