#pragma once

#include <orvnetwork/data/Export.h>

#include <glib.h>

G_BEGIN_DECLS

/// Errors of signing in and out: codes are those of `OrvSessionError`. Messages are a part of a sentence, in the server's
/// words where it has some. What was given up is `G_IO_ERROR_CANCELLED`.
#define ORV_SESSION_ERROR (orv_session_error_quark())
ORV_EXPORT GQuark orv_session_error_quark();

/// Why nobody was signed in or out.
enum OrvSessionError {
  ORV_SESSION_ERROR_REFUSED,      ///< the server has refused
  ORV_SESSION_ERROR_NO_ANSWER,    ///< there was no link, or no answer
  ORV_SESSION_ERROR_NO_USER,      ///< the server has accepted and sent no user along
  ORV_SESSION_ERROR_NOT_WRITTEN,  ///< it counts until the program ends: the disk has not taken it
};

G_END_DECLS
