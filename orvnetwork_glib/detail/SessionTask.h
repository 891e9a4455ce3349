#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/SignIn.h>

#include <gio/gio.h>

namespace orv::glib::detail {

/// Has `task` return what comes of a sign-in; the task's cancellable gives it up.
/// @param task its reference becomes the function's
void finishWith(GTask* task, Pending<SignInResult> pending);
/// The same with a sign-out.
void finishWith(GTask* task, Pending<SignOutResult> pending);

}  // namespace orv::glib::detail
