#include "orvnetwork_glib/Link.h"

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/LinkStatus.h>

#include <orvnetwork_glib/detail/Properties.h>
#include <orvnetwork_glib/detail/Showing.h>

#include <array>
#include <string_view>

namespace {

using orv::LinkSnapshot;
using orv::LinkState;
using orv::glib::detail::PropertyOf;
namespace detail = orv::glib::detail;

void readState(const LinkSnapshot& link, GValue* value) {
  g_value_set_enum(value, static_cast<gint>(link.state));
}
void readUp(const LinkSnapshot& link, GValue* value) {
  g_value_set_boolean(value, link.isUp() ? TRUE : FALSE);
}
void readSince(const LinkSnapshot& link, GValue* value) {
  detail::setMoment(value, link.since);
}
void readNextAttempt(const LinkSnapshot& link, GValue* value) {
  if (link.until) detail::setMoment(value, *link.until);
}
void readAttempt(const LinkSnapshot& link, GValue* value) {
  g_value_set_uint(value, static_cast<guint>(link.attempt));
}
void readFailureText(const LinkSnapshot& link, GValue* value) {
  if (link.failure) detail::setText(value, std::string_view(link.failure->text));
}
void readTrouble(const LinkSnapshot& link, GValue* value) {
  if (link.failure) detail::setText(value, nameOf(link.failure->trouble));
}
void readWillRetry(const LinkSnapshot& link, GValue* value) {
  g_value_set_boolean(value, link.willRetry ? TRUE : FALSE);
}
void readNeedsPerson(const LinkSnapshot& link, GValue* value) {
  g_value_set_boolean(value, link.needsPerson() ? TRUE : FALSE);
}
void readSentence(const LinkSnapshot& link, GValue* value) {
  detail::setText(value, std::string_view(link.sentence()));
}

constexpr std::array kLinkProperties{
    PropertyOf<LinkSnapshot>{"state", orv_link_state_get_type, readState},
    PropertyOf<LinkSnapshot>{"up", detail::flagType, readUp},
    PropertyOf<LinkSnapshot>{"since", g_date_time_get_type, readSince},
    PropertyOf<LinkSnapshot>{"next-attempt", g_date_time_get_type, readNextAttempt},
    PropertyOf<LinkSnapshot>{"attempt", detail::countType, readAttempt},
    PropertyOf<LinkSnapshot>{"failure-text", detail::textType, readFailureText},
    PropertyOf<LinkSnapshot>{"trouble", detail::textType, readTrouble},
    PropertyOf<LinkSnapshot>{"will-retry", detail::flagType, readWillRetry},
    PropertyOf<LinkSnapshot>{"needs-person", detail::flagType, readNeedsPerson},
    PropertyOf<LinkSnapshot>{"sentence", detail::textType, readSentence},
};

}  // namespace

struct _OrvLink : detail::Showing<orv::LinkStatus, LinkSnapshot> {};

// NOLINTNEXTLINE: what the macro makes is GLib's.
G_DEFINE_FINAL_TYPE(OrvLink, orv_link, G_TYPE_OBJECT)

static void orv_link_init(OrvLink*) {}

static void orv_link_class_init(OrvLinkClass* type) {
  detail::showProperties<OrvLink, kLinkProperties>(G_OBJECT_CLASS(type));
}

GType orv_link_state_get_type() {
  static const std::array<GEnumValue, 7> values{{
      {static_cast<int>(LinkState::Stopped), "ORV_LINK_STOPPED", "stopped"},
      {static_cast<int>(LinkState::Offline), "ORV_LINK_OFFLINE", "offline"},
      {static_cast<int>(LinkState::Connecting), "ORV_LINK_CONNECTING", "connecting"},
      {static_cast<int>(LinkState::Confirming), "ORV_LINK_CONFIRMING", "confirming"},
      {static_cast<int>(LinkState::Up), "ORV_LINK_UP", "up"},
      {static_cast<int>(LinkState::Waiting), "ORV_LINK_WAITING", "waiting"},
      {0, nullptr, nullptr},
  }};
  static const GType type = g_enum_register_static("OrvLinkState", values.data());
  return type;
}

void orv_link_try_now(OrvLink* self) {
  g_return_if_fail(ORV_IS_LINK(self));
  if (self->watch != nullptr) self->watch->part.tryNow();
}

namespace orv::glib {

OrvLink* newLink(Client& client) {
  LinkStatus& link = client.link();
  return detail::newShowing<OrvLink, kLinkProperties>(ORV_TYPE_LINK, link, link.snapshot());
}

LinkSnapshot snapshotOf(OrvLink* link) {
  g_return_val_if_fail(ORV_IS_LINK(link), LinkSnapshot{});
  return link->record();
}

}  // namespace orv::glib
