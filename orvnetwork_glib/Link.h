#pragma once

#include <orvnetwork/client/LinkSnapshot.h>
#include <orvnetwork/data/Export.h>

#include <glib-object.h>

namespace orv {
class Client;
}  // namespace orv

G_BEGIN_DECLS

/// The link to the server as an object with properties: `orv::LinkStatus` for widgets.
///
///     OrvLink* link = orv::glib::newLink(*client);
///     g_object_bind_property(link, "sentence", label, "label", G_BINDING_SYNC_CREATE);
///     g_object_bind_property(link, "up", banner, "revealed",
///                            static_cast<GBindingFlags>(G_BINDING_SYNC_CREATE | G_BINDING_INVERT_BOOLEAN));
///
/// | property | type | |
/// |---|---|---|
/// | "state" | `OrvLinkState` | |
/// | "up" | gboolean | whether requests can be sent |
/// | "since" | GDateTime | when this state began |
/// | "next-attempt" | GDateTime | null where none is planned |
/// | "attempt" | guint | how many there were since the link was last up |
/// | "failure-text" | text | why there is no link, a part of an English sentence; null while nothing went wrong |
/// | "trouble" | text | the same by its name in `orv::LinkTrouble`, such as "refused"; null likewise |
/// | "will-retry" | gboolean | whether the link comes up without anybody's doing |
/// | "needs-person" | gboolean | whether attempts alone will hardly mend it |
/// | "sentence" | text | all of it in one line of English |
///
/// All are read-only and belong to one moment. After the `Client`, and let go before it; main thread.
#define ORV_TYPE_LINK (orv_link_get_type())
ORV_EXPORT G_DECLARE_FINAL_TYPE(OrvLink, orv_link, ORV, LINK, GObject)

/// `orv::LinkState` as a type of GLib's.
#define ORV_TYPE_LINK_STATE (orv_link_state_get_type())
ORV_EXPORT GType orv_link_state_get_type();

/// `orv::LinkStatus::tryNow`: for a person who does not want to wait.
ORV_EXPORT void orv_link_try_now(OrvLink* self);

G_END_DECLS

namespace orv::glib {

/// @return with one reference, the caller's
ORV_EXPORT OrvLink* newLink(Client& client);
/// All that the properties are made of.
ORV_EXPORT LinkSnapshot snapshotOf(OrvLink* link);

}  // namespace orv::glib
