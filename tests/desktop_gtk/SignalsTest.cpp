#include <examples/classroom_gtk/Ref.h>
#include <examples/classroom_gtk/Signals.h>
#include <gio/gio.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace classroom_gtk::signals_test {
namespace {

/// A cancellable is an object with a signal, and needs no display.
class GtkSignals : public ::testing::Test {
 protected:
  GtkSignals() {
    // A handler that is not there is worth a warning to GLib.
    g_log_set_always_fatal(GLogLevelFlags(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
  }
  void listen() {
    signals.emplace();
    signals->on(object.get(), "cancelled", [this, held = held] { ++told; });
  }
  void emit() { g_signal_emit_by_name(object.get(), "cancelled"); }

  const Ref<GCancellable> object{g_cancellable_new()};
  std::shared_ptr<int> held = std::make_shared<int>();
  std::optional<Signals> signals;
  int told = 0;
};

TEST_F(GtkSignals, AreHeardUntilTheyAreGone) {
  listen();
  emit();
  EXPECT_EQ(told, 1);
  signals.reset();
  emit();
  EXPECT_EQ(told, 1);
  EXPECT_EQ(held.use_count(), 1) << "what was to be called is kept";
}

TEST_F(GtkSignals, MayGoAfterTheObjectHasLetThemGo) {
  listen();
  g_object_run_dispose(G_OBJECT(object.get()));
  EXPECT_EQ(held.use_count(), 1);
  signals.reset();
}

TEST_F(GtkSignals, KeepTheirObjectWhileTheyAreThere) {
  listen();
  signals->on(object.get(), "cancelled", [] {});
  EXPECT_EQ(G_OBJECT(object.get())->ref_count, 3u);
  signals.reset();
  EXPECT_EQ(G_OBJECT(object.get())->ref_count, 1u);
}

}  // namespace
}  // namespace classroom_gtk::signals_test
