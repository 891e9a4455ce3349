#include "orvnetwork_glib/CourseListModel.h"

#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/CourseListState.h>
#include <orvnetwork/client/Subscription.h>

#include <orvnetwork_glib/detail/CourseItems.h>
#include <orvnetwork_glib/detail/Properties.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace {

using orv::CourseListPhase;
using orv::CourseListState;
namespace detail = orv::glib::detail;

/// All that the properties are made of.
struct Reading {
  CourseListState state;
  std::size_t size = 0;
};

void readPhase(const Reading& reading, GValue* value) {
  g_value_set_enum(value, static_cast<gint>(reading.state.phase));
}
template <CourseListPhase Phase>
void readWhether(const Reading& reading, GValue* value) {
  g_value_set_boolean(value, reading.state.phase == Phase ? TRUE : FALSE);
}
void readErrorText(const Reading& reading, GValue* value) {
  if (reading.state.error) detail::setText(value, std::string_view(reading.state.error->text));
}
void readErrorKind(const Reading& reading, GValue* value) {
  if (reading.state.error) detail::setText(value, orv::nameOf(reading.state.error->kind));
}
void readCount(const Reading& reading, GValue* value) {
  g_value_set_uint(value, static_cast<guint>(reading.size));
}

constexpr std::array kProperties{
    detail::PropertyOf<Reading>{"phase", orv_course_list_phase_get_type, readPhase},
    detail::PropertyOf<Reading>{"loading", detail::flagType, readWhether<CourseListPhase::Loading>},
    detail::PropertyOf<Reading>{"at-end", detail::flagType, readWhether<CourseListPhase::End>},
    detail::PropertyOf<Reading>{"can-load-more", detail::flagType, readWhether<CourseListPhase::Idle>},
    detail::PropertyOf<Reading>{"error-text", detail::textType, readErrorText},
    detail::PropertyOf<Reading>{"error-kind", detail::textType, readErrorKind},
    detail::PropertyOf<Reading>{"n-items", detail::countType, readCount},
};

/// Told of a change, it lives to the end of it.
class Model {
 public:
  Model(OrvCourseListModel* object, orv::CourseList list);

  Reading reading() const { return {list_.state(), items_.size()}; }
  detail::CourseItems& items() { return items_; }
  void loadMore();
  void refresh();
  void tellState();
  static void take(const std::shared_ptr<Model>& self, const orv::CourseListChange& change);
  /// Nobody is told any more.
  void end() {
    object_ = nullptr;
    changed_ = {};
  }

 private:
  OrvCourseListModel* object_;
  orv::CourseList list_;
  detail::CourseItems items_;
  Reading told_;
  orv::Subscription changed_;

  friend std::shared_ptr<Model> newModel(OrvCourseListModel* object, orv::CourseList list);
};

}  // namespace

struct _OrvCourseListModel {
  GObject parent;
  std::shared_ptr<Model>* model;  // null until the list is there, and again when the object is let go
};

static void orv_course_list_model_list_init(GListModelInterface* type);

// NOLINTNEXTLINE: what the macro makes is GLib's.
G_DEFINE_FINAL_TYPE_WITH_CODE(OrvCourseListModel, orv_course_list_model, G_TYPE_OBJECT,
                              G_IMPLEMENT_INTERFACE(G_TYPE_LIST_MODEL, orv_course_list_model_list_init))

namespace {

Model::Model(OrvCourseListModel* object, orv::CourseList list)
    : object_(object), list_(std::move(list)), items_(*list_.rows()), told_(reading()) {}

std::shared_ptr<Model> newModel(OrvCourseListModel* object, orv::CourseList list) {
  auto model = std::make_shared<Model>(object, std::move(list));
  model->changed_ =
      model->list_.onChanged([weak = std::weak_ptr(model)](const orv::CourseListChange& change) {
        if (const auto self = weak.lock()) Model::take(self, change);
      });
  return model;
}

void Model::take(const std::shared_ptr<Model>& self, const orv::CourseListChange& change) {
  if (change.changesRows()) {
    self->items_.take(change, [&](std::size_t place, std::size_t removed, std::size_t added) {
      if (self->object_ == nullptr) return false;
      g_list_model_items_changed(G_LIST_MODEL(self->object_), static_cast<guint>(place),
                                 static_cast<guint>(removed), static_cast<guint>(added));
      return self->object_ != nullptr;
    });
  }
  self->tellState();
}

void Model::tellState() {
  if (object_ == nullptr) return;
  const Reading before = std::exchange(told_, reading());
  const Reading now = told_;
  detail::notifyOfChanges(G_OBJECT(object_), kProperties, before, now);
}

void Model::loadMore() {
  list_.loadMore();
  tellState();
}

void Model::refresh() {
  list_.refresh();
  tellState();
}

std::shared_ptr<Model> modelOf(gpointer object) {
  const auto* const self = ORV_COURSE_LIST_MODEL(object);
  return self->model != nullptr ? *self->model : nullptr;
}

}  // namespace

static GType orv_course_list_model_get_item_type(GListModel*) {
  return ORV_TYPE_COURSE;
}

static guint orv_course_list_model_get_n_items(GListModel* list) {
  const auto model = modelOf(list);
  return model ? static_cast<guint>(model->items().size()) : 0;
}

static gpointer orv_course_list_model_get_item(GListModel* list, guint index) {
  const auto model = modelOf(list);
  return model ? model->items().at(index) : nullptr;
}

static void orv_course_list_model_list_init(GListModelInterface* type) {
  type->get_item_type = orv_course_list_model_get_item_type;
  type->get_n_items = orv_course_list_model_get_n_items;
  type->get_item = orv_course_list_model_get_item;
}

static void orv_course_list_model_init(OrvCourseListModel* self) {
  self->model = nullptr;
}

static void orv_course_list_model_dispose(GObject* object) {
  auto* const self = ORV_COURSE_LIST_MODEL(object);
  if (const auto model = modelOf(self)) model->end();
  delete std::exchange(self->model, nullptr);
  G_OBJECT_CLASS(orv_course_list_model_parent_class)->dispose(object);
}

static void orv_course_list_model_get_property(GObject* object, guint number, GValue* value, GParamSpec*) {
  const auto model = modelOf(object);
  kProperties.at(number - 1).read(model ? model->reading() : Reading{}, value);
}

static void orv_course_list_model_class_init(OrvCourseListModelClass* type) {
  G_OBJECT_CLASS(type)->dispose = orv_course_list_model_dispose;
  G_OBJECT_CLASS(type)->get_property = orv_course_list_model_get_property;
  detail::installProperties(type, kProperties);
}

GType orv_course_list_phase_get_type() {
  static const std::array<GEnumValue, 5> values{{
      {static_cast<int>(CourseListPhase::Idle), "ORV_COURSE_LIST_IDLE", "idle"},
      {static_cast<int>(CourseListPhase::Loading), "ORV_COURSE_LIST_LOADING", "loading"},
      {static_cast<int>(CourseListPhase::End), "ORV_COURSE_LIST_END", "end"},
      {static_cast<int>(CourseListPhase::Failed), "ORV_COURSE_LIST_FAILED", "failed"},
      {0, nullptr, nullptr},
  }};
  static const GType type = g_enum_register_static("OrvCourseListPhase", values.data());
  return type;
}

void orv_course_list_model_load_more(OrvCourseListModel* self) {
  g_return_if_fail(ORV_IS_COURSE_LIST_MODEL(self));
  if (const auto model = modelOf(self)) model->loadMore();
}

void orv_course_list_model_refresh(OrvCourseListModel* self) {
  g_return_if_fail(ORV_IS_COURSE_LIST_MODEL(self));
  if (const auto model = modelOf(self)) model->refresh();
}

namespace orv::glib {

OrvCourseListModel* newCourseListModel(CourseList list) {
  auto* const self = ORV_COURSE_LIST_MODEL(g_object_new(ORV_TYPE_COURSE_LIST_MODEL, nullptr));
  self->model = new std::shared_ptr<Model>(newModel(self, std::move(list)));
  return self;
}

}  // namespace orv::glib
