#include "orvnetwork_glib/detail/SessionTask.h"

#include <orvnetwork/client/PendingCallback.h>

#include <orvnetwork_glib/SessionError.h>

#include <stop_token>
#include <string>
#include <utility>

namespace orv::glib::detail {

namespace {

/// What a task holds while it waits.
struct Waiting {
  PendingCallback callback;
  gulong handler = 0;
};

void freeWaiting(gpointer waiting) {
  delete static_cast<Waiting*>(waiting);
}

/// On the thread of whoever cancels.
void requestStop(GCancellable*, gpointer stop) {
  static_cast<std::stop_source*>(stop)->request_stop();
}

void freeStop(gpointer stop) {
  delete static_cast<std::stop_source*>(stop);
}

void fail(GTask* task, GQuark domain, int code, const std::string& text) {
  char* const valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  g_task_return_new_error(task, domain, code, "%s", valid);
  g_free(valid);
}

void finish(GTask* task, const SignInResult& result) {
  switch (result.outcome()) {
    case SignInOutcome::SignedIn:
      return g_task_return_boolean(task, TRUE);
    case SignInOutcome::Refused:
      return fail(task, ORV_SESSION_ERROR, ORV_SESSION_ERROR_REFUSED, result.text());
    case SignInOutcome::NoAnswer:
      return fail(task, ORV_SESSION_ERROR, ORV_SESSION_ERROR_NO_ANSWER, result.text());
    case SignInOutcome::NoUser:
      return fail(task, ORV_SESSION_ERROR, ORV_SESSION_ERROR_NO_USER, result.text());
    case SignInOutcome::NotWritten:
      return fail(task, ORV_SESSION_ERROR, ORV_SESSION_ERROR_NOT_WRITTEN, result.text());
    case SignInOutcome::Cancelled:
      return fail(task, G_IO_ERROR, G_IO_ERROR_CANCELLED, "the sign-in was given up");
  }
}

void finish(GTask* task, const SignOutResult& result) {
  switch (result.outcome()) {
    case SignOutOutcome::SignedOut:
      return g_task_return_boolean(task, TRUE);
    case SignOutOutcome::NotRemoved:
      return fail(task, ORV_SESSION_ERROR, ORV_SESSION_ERROR_NOT_WRITTEN, result.text());
    case SignOutOutcome::Cancelled:
      return fail(task, G_IO_ERROR, G_IO_ERROR_CANCELLED, "nobody waits for the sign-out any more");
  }
}

template <typename Result>
void wait(GTask* task, Pending<Result> pending) {
  // What has happened is told as it is, also when somebody cancels after that.
  g_task_set_check_cancellable(task, FALSE);
  auto* const waiting = new Waiting;
  g_task_set_task_data(task, waiting, freeWaiting);
  GCancellable* const cancellable = g_task_get_cancellable(task);
  if (cancellable != nullptr) {
    auto* const stop = new std::stop_source;
    pending.stopOn(stop->get_token());
    waiting->handler = g_cancellable_connect(cancellable, G_CALLBACK(requestStop), stop, freeStop);
  }
  // Not by g_cancellable_disconnect, which waits until whoever is cancelling has called all handlers: another handler may
  // run a loop, which brings this answer, or wait for it on another thread. What ours holds lives until it has returned.
  waiting->callback = std::move(pending).then([task, waiting](const Result& result) {
    if (waiting->handler != 0) g_signal_handler_disconnect(g_task_get_cancellable(task), waiting->handler);
    finish(task, result);
    g_object_unref(task);
  });
}

}  // namespace

void finishWith(GTask* task, Pending<SignInResult> pending) {
  wait(task, std::move(pending));
}

void finishWith(GTask* task, Pending<SignOutResult> pending) {
  wait(task, std::move(pending));
}

}  // namespace orv::glib::detail
