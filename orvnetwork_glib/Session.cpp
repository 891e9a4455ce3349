#include "orvnetwork_glib/Session.h"

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/SessionStatus.h>
#include <orvnetwork/session/OrvClassroomInfo.h>
#include <orvnetwork/session/OrvUserInfoModel.h>

#include <orvnetwork_glib/detail/Properties.h>
#include <orvnetwork_glib/detail/SessionTask.h>
#include <orvnetwork_glib/detail/Showing.h>

#include <array>
#include <string_view>

namespace {

using orv::OrvUserInfoModel;
using orv::SessionInfo;
using orv::SessionState;
using orv::glib::detail::PropertyOf;
namespace detail = orv::glib::detail;

void readState(const SessionInfo& info, GValue* value) {
  g_value_set_enum(value, static_cast<gint>(info.state));
}
void readReason(const SessionInfo& info, GValue* value) {
  detail::setText(value, std::string_view(info.reason));
}
void readOtherDeviceLoggedIn(const SessionInfo& info, GValue* value) {
  g_value_set_boolean(value, info.otherDevice.isLoggedIn ? TRUE : FALSE);
}
void readOtherDeviceLive(const SessionInfo& info, GValue* value) {
  g_value_set_boolean(value, info.otherDevice.isLive ? TRUE : FALSE);
}
void readSignedIn(const SessionInfo& info, GValue* value) {
  g_value_set_boolean(value, info.user != nullptr ? TRUE : FALSE);
}
template <auto Member>
void readUser(const SessionInfo& info, GValue* value) {
  if (info.user) detail::setText(value, ((*info.user).*Member).get());
}
void readClassroomTitle(const SessionInfo& info, GValue* value) {
  const auto classroom = info.user ? info.user->classroominfo.get() : nullptr;
  if (classroom) detail::setText(value, classroom->title.get());
}

constexpr std::array kSessionProperties{
    PropertyOf<SessionInfo>{"state", orv_session_state_get_type, readState},
    PropertyOf<SessionInfo>{"reason", detail::textType, readReason},
    PropertyOf<SessionInfo>{"other-device-logged-in", detail::flagType, readOtherDeviceLoggedIn},
    PropertyOf<SessionInfo>{"other-device-live", detail::flagType, readOtherDeviceLive},
    PropertyOf<SessionInfo>{"signed-in", detail::flagType, readSignedIn},
    PropertyOf<SessionInfo>{"user-id", detail::textType, readUser<&OrvUserInfoModel::uID>},
    PropertyOf<SessionInfo>{"nick", detail::textType, readUser<&OrvUserInfoModel::nick>},
    PropertyOf<SessionInfo>{"phone", detail::textType, readUser<&OrvUserInfoModel::phone>},
    PropertyOf<SessionInfo>{"picture-url", detail::textType, readUser<&OrvUserInfoModel::userpic>},
    PropertyOf<SessionInfo>{"classroom-id", detail::textType, readUser<&OrvUserInfoModel::classroom>},
    PropertyOf<SessionInfo>{"classroom-title", detail::textType, readClassroomTitle},
};

}  // namespace

struct _OrvSession : detail::Showing<orv::SessionStatus, SessionInfo> {};

// NOLINTNEXTLINE: what the macro makes is GLib's.
G_DEFINE_FINAL_TYPE(OrvSession, orv_session, G_TYPE_OBJECT)

static void orv_session_init(OrvSession*) {}

static void orv_session_class_init(OrvSessionClass* type) {
  detail::showProperties<OrvSession, kSessionProperties>(G_OBJECT_CLASS(type));
}

GType orv_session_state_get_type() {
  static const std::array<GEnumValue, 6> values{{
      {static_cast<int>(SessionState::SignedOut), "ORV_SESSION_SIGNED_OUT", "signed-out"},
      {static_cast<int>(SessionState::Restoring), "ORV_SESSION_RESTORING", "restoring"},
      {static_cast<int>(SessionState::Good), "ORV_SESSION_GOOD", "good"},
      {static_cast<int>(SessionState::Refused), "ORV_SESSION_REFUSED", "refused"},
      {static_cast<int>(SessionState::TakenOver), "ORV_SESSION_TAKEN_OVER", "taken-over"},
      {0, nullptr, nullptr},
  }};
  static const GType type = g_enum_register_static("OrvSessionState", values.data());
  return type;
}

void orv_session_sign_in_async(OrvSession* self, const char* mobile, const char* password,
                               GCancellable* cancellable, GAsyncReadyCallback callback, gpointer user_data) {
  g_return_if_fail(ORV_IS_SESSION(self) && self->watch != nullptr && mobile != nullptr &&
                   password != nullptr);
  GTask* const task = g_task_new(self, cancellable, callback, user_data);
  detail::finishWith(task, self->watch->part.signIn(mobile, password));
}

void orv_session_sign_in_with_code_async(OrvSession* self, const char* mobile, const char* code,
                                         GCancellable* cancellable, GAsyncReadyCallback callback,
                                         gpointer user_data) {
  g_return_if_fail(ORV_IS_SESSION(self) && self->watch != nullptr && mobile != nullptr && code != nullptr);
  GTask* const task = g_task_new(self, cancellable, callback, user_data);
  detail::finishWith(task, self->watch->part.signInWithCode(mobile, code));
}

gboolean orv_session_sign_in_finish(OrvSession* self, GAsyncResult* result, GError** error) {
  g_return_val_if_fail(g_task_is_valid(result, self), FALSE);
  return g_task_propagate_boolean(G_TASK(result), error);
}

void orv_session_sign_out_async(OrvSession* self, GCancellable* cancellable, GAsyncReadyCallback callback,
                                gpointer user_data) {
  g_return_if_fail(ORV_IS_SESSION(self) && self->watch != nullptr);
  GTask* const task = g_task_new(self, cancellable, callback, user_data);
  detail::finishWith(task, self->watch->part.signOut());
}

gboolean orv_session_sign_out_finish(OrvSession* self, GAsyncResult* result, GError** error) {
  g_return_val_if_fail(g_task_is_valid(result, self), FALSE);
  return g_task_propagate_boolean(G_TASK(result), error);
}

namespace orv::glib {

OrvSession* newSession(Client& client) {
  SessionStatus& session = client.session();
  return detail::newShowing<OrvSession, kSessionProperties>(ORV_TYPE_SESSION, session, session.info());
}

SessionInfo infoOf(OrvSession* session) {
  g_return_val_if_fail(ORV_IS_SESSION(session), SessionInfo{});
  return session->record();
}

}  // namespace orv::glib
