#include "orvnetwork_glib/SessionError.h"

GQuark orv_session_error_quark() {
  static const GQuark quark = g_quark_from_static_string("orv-session-error-quark");
  return quark;
}
