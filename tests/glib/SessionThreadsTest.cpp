// Sign-ins that are cancelled on another thread, in the real loop.

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/ClientOptions.h>

#include "Owned.h"

#include <gtest/gtest.h>
#include <orvnetwork_glib/MainLoop.h>
#include <orvnetwork_glib/Session.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>

namespace orv::session_threads_test {
namespace {

using namespace std::chrono_literals;

/// How a sign-in has ended, and where that was told.
struct End {
  bool isCancelled = false;
  std::thread::id thread;
};

class GlibSessionOnThreads : public ::testing::Test {
 protected:
  GlibSessionOnThreads() {
    EXPECT_TRUE(glib::attachMainQueue());
    ClientOptions options;
    options.server = "ws://127.0.0.1:1/";  // nobody listens, so a sign-in waits
    options.version = "1.0";
    options.build = "1";
    client_ = Client::start(options).value();
    session_.reset(glib::newSession(*client_));
  }
  ~GlibSessionOnThreads() override {
    session_.reset();
    client_.reset();
    glib::detachMainQueue();
  }

  static void finished(GObject* source, GAsyncResult* result, gpointer end) {
    GError* error = nullptr;
    EXPECT_FALSE(orv_session_sign_in_finish(ORV_SESSION(source), result, &error));
    const bool isCancelled = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) != FALSE;
    static_cast<std::optional<End>*>(end)->emplace(End{isCancelled, std::this_thread::get_id()});
    g_clear_error(&error);
  }
  void begin(GCancellable* cancellable, std::optional<End>& end) {
    orv_session_sign_in_async(session_.get(), "13800000001", "secret", cancellable, finished, &end);
  }
  static bool runsUntil(const std::optional<End>& end) {
    const auto patience = std::chrono::steady_clock::now() + 60s;
    while (!end && std::chrono::steady_clock::now() < patience) g_main_context_iteration(nullptr, FALSE);
    return end.has_value();
  }

  std::unique_ptr<Client> client_;
  Owned<OrvSession> session_;
};

TEST_F(GlibSessionOnThreads, OneThatIsCancelledOnAnotherThreadEndsOnceOnTheMainThread) {
  for (int round = 0; round < 200; ++round) {
    const Owned<GCancellable> cancellable(g_cancellable_new());
    std::optional<End> end;
    begin(cancellable.get(), end);
    std::thread elsewhere([&] { g_cancellable_cancel(cancellable.get()); });
    const bool hasEnded = runsUntil(end);
    elsewhere.join();
    ASSERT_TRUE(hasEnded) << "round " << round;
    EXPECT_TRUE(end->isCancelled);
    EXPECT_EQ(end->thread, std::this_thread::get_id());
  }
}

/// Whoever cancels waits in a handler until the sign-in has ended: the end must not wait for the handlers.
TEST_F(GlibSessionOnThreads, EndsWhileAHandlerOfTheCancellingWaitsForIt) {
  const Owned<GCancellable> cancellable(g_cancellable_new());
  std::optional<End> end;
  begin(cancellable.get(), end);
  std::atomic<bool> hasEnded = false;
  g_cancellable_connect(cancellable.get(), G_CALLBACK(+[](GCancellable*, gpointer flag) {
                          static_cast<std::atomic<bool>*>(flag)->wait(false);
                        }),
                        &hasEnded, nullptr);
  std::thread elsewhere([&] { g_cancellable_cancel(cancellable.get()); });
  const bool isOver = runsUntil(end);
  hasEnded = true;
  hasEnded.notify_all();
  elsewhere.join();
  ASSERT_TRUE(isOver);
  EXPECT_TRUE(end->isCancelled);
}

}  // namespace
}  // namespace orv::session_threads_test
