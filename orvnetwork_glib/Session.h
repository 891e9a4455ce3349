#pragma once

#include <orvnetwork/client/SessionInfo.h>
#include <orvnetwork/data/Export.h>

#include <gio/gio.h>
#include <orvnetwork_glib/SessionError.h>

namespace orv {
class Client;
}  // namespace orv

G_BEGIN_DECLS

/// Who is signed in, as an object with properties: `orv::SessionStatus` for widgets.
///
///     OrvSession* session = orv::glib::newSession(*client);
///     orv_session_sign_in_async(session, mobile, password, cancellable, [](GObject* source, GAsyncResult* result, gpointer form) {
///       g_autoptr(GError) error = nullptr;
///       if (!orv_session_sign_in_finish(ORV_SESSION(source), result, &error)) show_error(form, error->message);
///     }, form);
///
/// | property | type | |
/// |---|---|---|
/// | "state" | `OrvSessionState` | |
/// | "reason" | text | why it is so, in the server's words; empty where there is nothing to say |
/// | "other-device-logged-in", "other-device-live" | gboolean | |
/// | "signed-in" | gboolean | whether a user is stored; the next ones are null otherwise |
/// | "user-id", "nick", "phone", "picture-url" | text | |
/// | "classroom-id", "classroom-title" | text | the classroom in which the user works; null where there is none |
///
/// All are read-only and belong to one moment. After the `Client`, and let go before it; main thread.
#define ORV_TYPE_SESSION (orv_session_get_type())
ORV_EXPORT G_DECLARE_FINAL_TYPE(OrvSession, orv_session, ORV, SESSION, GObject)

/// `orv::SessionState` as a type of GLib's.
#define ORV_TYPE_SESSION_STATE (orv_session_state_get_type())
ORV_EXPORT GType orv_session_state_get_type();

/// `orv::SessionStatus::signIn`. `callback` is called in a turn of the loop, never inside this call.
/// @param cancellable gives the sign-in up, on whatever thread it is cancelled; may be null
ORV_EXPORT void orv_session_sign_in_async(OrvSession* self, const char* mobile, const char* password,
                                          GCancellable* cancellable, GAsyncReadyCallback callback,
                                          gpointer user_data);
/// The same with a verification code instead of the password; finished by `orv_session_sign_in_finish` too.
ORV_EXPORT void orv_session_sign_in_with_code_async(OrvSession* self, const char* mobile, const char* code,
                                                    GCancellable* cancellable, GAsyncReadyCallback callback,
                                                    gpointer user_data);
/// @return whether the user is stored on the disk
ORV_EXPORT gboolean orv_session_sign_in_finish(OrvSession* self, GAsyncResult* result, GError** error);

/// `orv::SessionStatus::signOut`. Cancelling ends the waiting; the sign-out goes on.
ORV_EXPORT void orv_session_sign_out_async(OrvSession* self, GCancellable* cancellable,
                                           GAsyncReadyCallback callback, gpointer user_data);
/// @return whether nobody is stored any more
ORV_EXPORT gboolean orv_session_sign_out_finish(OrvSession* self, GAsyncResult* result, GError** error);

G_END_DECLS

namespace orv::glib {

/// @return with one reference, the caller's
ORV_EXPORT OrvSession* newSession(Client& client);
/// All that the properties are made of.
ORV_EXPORT SessionInfo infoOf(OrvSession* session);

}  // namespace orv::glib
