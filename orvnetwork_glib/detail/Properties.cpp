#include "orvnetwork_glib/detail/Properties.h"

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/Platform.h>

#include <chrono>

namespace orv::glib::detail {

namespace {

constexpr auto kFlags =
    static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS | G_PARAM_EXPLICIT_NOTIFY);

bool isSameMoment(const GValue& one, const GValue& other) {
  const auto* const a = static_cast<const GDateTime*>(g_value_get_boxed(&one));
  const auto* const b = static_cast<const GDateTime*>(g_value_get_boxed(&other));
  if (a == nullptr || b == nullptr) return a == b;
  return g_date_time_equal(a, b) != FALSE;
}

}  // namespace

void setText(GValue* value, std::string_view text) {
  g_value_take_string(value, g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
}

void setText(GValue* value, const OptionalString& text) {
  if (text) setText(value, std::string_view(*text));
}

void setMoment(GValue* value, std::int64_t seconds) {
  if (seconds > 0) g_value_take_boxed(value, g_date_time_new_from_unix_local(seconds));
}

void setMoment(GValue* value, SteadyTime time) {
  Clock& clock = Platform::current().clock();
  const auto wall = clock.wallNow().time_since_epoch() + (time - clock.steadyNow());
  setMoment(value, std::chrono::duration_cast<std::chrono::seconds>(wall).count());
}

bool isSame(const GValue& one, const GValue& other) {
  switch (G_TYPE_FUNDAMENTAL(G_VALUE_TYPE(&one))) {
    case G_TYPE_STRING:
      return g_strcmp0(g_value_get_string(&one), g_value_get_string(&other)) == 0;
    case G_TYPE_BOOLEAN:
      return g_value_get_boolean(&one) == g_value_get_boolean(&other);
    case G_TYPE_UINT:
      return g_value_get_uint(&one) == g_value_get_uint(&other);
    case G_TYPE_INT64:
      return g_value_get_int64(&one) == g_value_get_int64(&other);
    case G_TYPE_DOUBLE:
      return !(g_value_get_double(&one) < g_value_get_double(&other)) &&
             !(g_value_get_double(&one) > g_value_get_double(&other));
    case G_TYPE_ENUM:
      return g_value_get_enum(&one) == g_value_get_enum(&other);
    default:
      return isSameMoment(one, other);
  }
}

GParamSpec* readOnly(const char* name, GType type) {
  switch (G_TYPE_FUNDAMENTAL(type)) {
    case G_TYPE_STRING:
      return g_param_spec_string(name, nullptr, nullptr, nullptr, kFlags);
    case G_TYPE_BOOLEAN:
      return g_param_spec_boolean(name, nullptr, nullptr, FALSE, kFlags);
    case G_TYPE_UINT:
      return g_param_spec_uint(name, nullptr, nullptr, 0, G_MAXUINT, 0, kFlags);
    case G_TYPE_INT64:
      return g_param_spec_int64(name, nullptr, nullptr, G_MININT64, G_MAXINT64, 0, kFlags);
    case G_TYPE_DOUBLE:
      return g_param_spec_double(name, nullptr, nullptr, -G_MAXDOUBLE, G_MAXDOUBLE, 0, kFlags);
    case G_TYPE_ENUM:
      return g_param_spec_enum(name, nullptr, nullptr, type, 0, kFlags);
    default:
      return g_param_spec_boxed(name, nullptr, nullptr, type, kFlags);
  }
}

}  // namespace orv::glib::detail
