#pragma once

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <orvnetwork_glib/CourseListModel.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orv {

/// Follows a model as views do, by its signals alone, and looks after each that this is possible: the items that it holds
/// are those of the model, and a course that stays is the same object.
class ListView {
 public:
  explicit ListView(OrvCourseListModel* model) : model_(model) {
    spliceIn(0, g_list_model_get_n_items(list()));
    handler_ =
        g_signal_connect(model_, "items-changed",
                         G_CALLBACK(+[](GListModel*, guint place, guint removed, guint added, gpointer view) {
                           static_cast<ListView*>(view)->changed(place, removed, added);
                         }),
                         this);
  }
  ~ListView() {
    g_signal_handler_disconnect(model_, handler_);
    for (OrvCourse* item : items_) let(item);
  }
  ListView(const ListView&) = delete;
  ListView& operator=(const ListView&) = delete;

  static std::int64_t roomOf(OrvCourse* course) {
    gint64 room = 0;
    g_object_get(course, "room-id", &room, nullptr);
    return room;
  }
  std::vector<std::int64_t> rooms() const {
    std::vector<std::int64_t> rooms;
    for (OrvCourse* item : items_) rooms.push_back(roomOf(item));
    return rooms;
  }
  const std::vector<OrvCourse*>& items() const { return items_; }

  int changes = 0, splices = 0, updates = 0;

 private:
  GListModel* list() const { return G_LIST_MODEL(model_); }

  void changed(guint place, guint removed, guint added) {
    ++changes;
    splices += removed > 0 && added > 0 ? 1 : 0;
    ASSERT_LE(place + removed, items_.size());
    // A course that is still listed is taken up again as the same object.
    std::map<std::int64_t, OrvCourse*> gone;
    const auto first = items_.begin() + static_cast<std::ptrdiff_t>(place);
    for (auto item = first; item != first + static_cast<std::ptrdiff_t>(removed); ++item) {
      gone[roomOf(*item)] = *item;
    }
    items_.erase(first, first + static_cast<std::ptrdiff_t>(removed));
    spliceIn(place, added);
    for (guint i = place; i < place + added; ++i) {
      const auto former = gone.find(roomOf(items_[i]));
      if (former != gone.end()) {
        EXPECT_EQ(former->second, items_[i]) << "another object for the same course";
      }
    }
    for (const auto& [room, item] : gone) let(item);
    compare();
  }
  void spliceIn(guint place, guint added) {
    for (guint i = 0; i < added; ++i) {
      auto* const item = ORV_COURSE(g_list_model_get_item(list(), place + i));
      g_signal_connect(
          item, "notify",
          G_CALLBACK(+[](GObject*, GParamSpec*, gpointer count) { ++*static_cast<int*>(count); }), &updates);
      items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(place + i), item);
    }
  }
  void let(OrvCourse* item) {
    g_signal_handlers_disconnect_by_data(item, &updates);
    g_object_unref(item);
  }
  void compare() const {
    ASSERT_EQ(items_.size(), g_list_model_get_n_items(list()));
    for (std::size_t i = 0; i < items_.size(); ++i) {
      auto* const item = ORV_COURSE(g_list_model_get_item(list(), static_cast<guint>(i)));
      ASSERT_EQ(item, items_[i]) << "item " << i;
      g_object_unref(item);
    }
  }

  OrvCourseListModel* model_;
  gulong handler_ = 0;
  std::vector<OrvCourse*> items_;
};

}  // namespace orv
