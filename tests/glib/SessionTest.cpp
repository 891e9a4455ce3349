#include <orvnetwork/client/SessionInfo.h>
#include <orvnetwork/testing/ConnectPlan.h>

#include "Owned.h"
#include <tests/support/SchoolClientFixture.h>

#include <orvnetwork_glib/Session.h>

#include <functional>
#include <optional>
#include <string>

namespace orv::session_test {
namespace {

/// How an asynchronous call has ended.
struct End {
  bool isDone = false;
  GQuark domain = 0;
  int code = 0;
  std::string message;
};

class GlibSession : public SchoolClientFixture {
 protected:
  ~GlibSession() override { session.reset(); }

  SessionState state() const { return static_cast<SessionState>(wordOf(session.get(), "state")); }

  /// Lets the simulation and GLib's loop run until the call has ended.
  End wait(const std::optional<End>& end) {
    for (int turn = 0; turn < 10'000 && !end; ++turn) {
      runFor(0.01);
      while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
      }
    }
    EXPECT_TRUE(end) << "never finished";
    return end.value_or(End{});
  }
  template <auto Finish>
  static void finished(GObject* source, GAsyncResult* result, gpointer data) {
    GError* error = nullptr;
    End end;
    end.isDone = Finish(ORV_SESSION(source), result, &error) != FALSE;
    EXPECT_EQ(end.isDone, error == nullptr);
    if (error != nullptr) {
      end.domain = error->domain;
      end.code = error->code;
      end.message = error->message;
      g_error_free(error);
    }
    static_cast<std::optional<End>*>(data)->emplace(end);
  }
  void begin(const char* password, std::optional<End>& end, GCancellable* cancellable = nullptr) {
    orv_session_sign_in_async(session.get(), "13800000001", password, cancellable,
                              finished<orv_session_sign_in_finish>, &end);
  }
  /// A handler of "cancelled".
  static void callBack(GCancellable*, gpointer what) { (*static_cast<std::function<void()>*>(what))(); }
  End signIn(const char* password) {
    std::optional<End> end;
    begin(password, end);
    EXPECT_FALSE(end) << "called back inside the call";
    return wait(end);
  }

  Owned<OrvSession> session{glib::newSession(*client)};
};

TEST_F(GlibSession, SignsInAndOutAndShowsTheUser) {
  platform.settle();
  EXPECT_EQ(state(), SessionState::SignedOut);
  EXPECT_FALSE(flagOf(session.get(), "signed-in"));
  EXPECT_EQ(textOf(session.get(), "nick"), "(null)");
  school.changeClassroom("5001", {{"title", "林老师的教室"}});
  school.changeUser(uID, {{"phone", "13800000001"}, {"userpic", "http://a.test/p"}});
  EXPECT_TRUE(signIn("secret").isDone);
  runFor(5);
  EXPECT_EQ(state(), SessionState::Good);
  EXPECT_TRUE(flagOf(session.get(), "signed-in"));
  EXPECT_EQ(textOf(session.get(), "nick"), "Ann");
  EXPECT_EQ(textOf(session.get(), "user-id"), uID);
  EXPECT_EQ(textOf(session.get(), "phone"), "13800000001");
  EXPECT_EQ(textOf(session.get(), "picture-url"), "http://a.test/p");
  EXPECT_EQ(textOf(session.get(), "classroom-id"), "5001");
  EXPECT_EQ(textOf(session.get(), "classroom-title"), "林老师的教室");
  EXPECT_EQ(glib::infoOf(session.get()), client->session().info());

  std::optional<End> end;
  orv_session_sign_out_async(session.get(), nullptr, finished<orv_session_sign_out_finish>, &end);
  EXPECT_TRUE(wait(end).isDone);
  platform.settle();
  EXPECT_EQ(state(), SessionState::SignedOut);
  EXPECT_EQ(textOf(session.get(), "user-id"), "(null)");
}

TEST_F(GlibSession, ARefusalIsAnErrorInTheServersWords) {
  const End end = signIn("wrong");
  EXPECT_FALSE(end.isDone);
  EXPECT_EQ(end.domain, ORV_SESSION_ERROR);
  EXPECT_EQ(end.code, ORV_SESSION_ERROR_REFUSED);
  EXPECT_NE(end.message, "");
}

TEST_F(GlibSession, ADialogueOpenedWhenASignInHasFailedCanSignInAgain) {
  std::optional<End> first, second;
  std::function<void(GObject*, GAsyncResult*)> dialogue = [&](GObject* source, GAsyncResult* result) {
    finished<orv_session_sign_in_finish>(source, result, &first);
    begin("secret", second);
    wait(second);
  };
  const auto ended = +[](GObject* source, GAsyncResult* result, gpointer open) {
    (*static_cast<std::function<void(GObject*, GAsyncResult*)>*>(open))(source, result);
  };
  orv_session_sign_in_async(session.get(), "13800000001", "wrong", nullptr, ended, &dialogue);
  wait(first);
  ASSERT_TRUE(second) << "the dialogue has not seen its sign-in end";
  EXPECT_FALSE(first->isDone);
  EXPECT_TRUE(second->isDone);
  runFor(5);
  EXPECT_EQ(state(), SessionState::Good);
}

TEST_F(GlibSession, TheOtherDeviceIsTold) {
  ASSERT_TRUE(signIn("secret").isDone);
  runFor(5);
  EXPECT_FALSE(flagOf(session.get(), "other-device-logged-in"));
  school.logInElsewhere(uID, true);
  runFor(130);
  EXPECT_TRUE(flagOf(session.get(), "other-device-logged-in"));
  EXPECT_TRUE(flagOf(session.get(), "other-device-live"));
  school.logOutFromElsewhere(uID);
  runFor(10);
  EXPECT_EQ(state(), SessionState::TakenOver);
  EXPECT_EQ(textOf(session.get(), "reason"), client->session().info().reason);
}

TEST_F(GlibSession, ErrorsHaveADomainOfTheirOwn) {
  EXPECT_STREQ(g_quark_to_string(ORV_SESSION_ERROR), "orv-session-error-quark");
}

TEST_F(GlibSession, WithoutALinkThereIsNoAnswer) {
  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  platform.server().cutAll();
  runFor(1);
  const End end = signIn("secret");
  EXPECT_EQ(end.domain, ORV_SESSION_ERROR);
  EXPECT_EQ(end.code, ORV_SESSION_ERROR_NO_ANSWER);
}

TEST_F(GlibSession, CancellingGivesTheSignInUp) {
  const Owned<GCancellable> cancellable(g_cancellable_new());
  std::optional<End> end;
  begin("secret", end, cancellable.get());
  g_cancellable_cancel(cancellable.get());
  EXPECT_FALSE(end) << "called back inside the call";
  const End how = wait(end);
  EXPECT_EQ(how.domain, G_IO_ERROR);
  EXPECT_EQ(how.code, G_IO_ERROR_CANCELLED);
  runFor(5);
  EXPECT_EQ(state(), SessionState::SignedOut);
}

TEST_F(GlibSession, WhatWasCancelledBeforeItBeganIsGivenUpToo) {
  const Owned<GCancellable> cancellable(g_cancellable_new());
  g_cancellable_cancel(cancellable.get());
  std::optional<End> end;
  begin("secret", end, cancellable.get());
  EXPECT_EQ(wait(end).code, G_IO_ERROR_CANCELLED);
}

TEST_F(GlibSession, EndsInsideALoopThatAHandlerOfTheCancellingRuns) {
  const Owned<GCancellable> cancellable(g_cancellable_new());
  std::optional<End> end, inside;
  begin("secret", end, cancellable.get());
  // It comes after the task's own handler, and the cancelling goes on until it returns.
  std::function<void()> loop = [&] { inside = wait(end); };
  g_cancellable_connect(cancellable.get(), G_CALLBACK(callBack), &loop, nullptr);
  g_cancellable_cancel(cancellable.get());
  ASSERT_TRUE(inside);
  EXPECT_EQ(inside->domain, G_IO_ERROR);
  EXPECT_EQ(inside->code, G_IO_ERROR_CANCELLED);
}

TEST_F(GlibSession, ASignInGoesOnWhenItsOwnerLetsTheObjectGo) {
  std::optional<End> end;
  begin("secret", end);
  session.reset();
  EXPECT_TRUE(wait(end).isDone);
  EXPECT_EQ(client->session().state(), SessionState::Good);
}

}  // namespace
}  // namespace orv::session_test
