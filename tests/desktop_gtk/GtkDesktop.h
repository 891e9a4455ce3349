#pragma once

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/ClientOptions.h>

#include <devserver/DevServer.h>
#include <tests/display/VirtualDisplay.h>

#include <boost/json/object.hpp>
#include <examples/classroom_gtk/Window.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <orvnetwork_glib/MainLoop.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace classroom_gtk {

/// The application as a person uses it, on an X server without a screen, against the embedded server.
class GtkDesktop : public ::testing::Test {
 protected:
  GtkDesktop() {
    setenv("DISPLAY", display_.name().c_str(), 1);
    setenv("GDK_BACKEND", "x11", 1);
    // Neither graphics cards nor services of a session are asked for.
    setenv("GSK_RENDERER", "cairo", 1);
    setenv("GTK_A11Y", "none", 1);
    setenv("GSETTINGS_BACKEND", "memory", 1);
    gtk_init();
    // What GLib and GTK call a fault of the program ends it.
    g_log_set_always_fatal(GLogLevelFlags(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL));
    server.start();
    orv::glib::attachMainQueue();
    orv::ClientOptions options;
    options.server = server.url();
    options.version = "1.0";
    options.build = "1";
    client_ = *orv::Client::start(options);
    window_ = std::construct_at(reinterpret_cast<Window*>(place_.data()), *client_);
    gtk_window_present(window_->widget());
  }
  ~GtkDesktop() override {
    if (window_ != nullptr) closeWindow();
    client_.reset();
    orv::glib::detachMainQueue();
  }

  orv::Client& client() { return *client_; }
  GtkWidget* window() const { return GTK_WIDGET(window_->widget()); }
  /// Ends the window while the client goes on. Who still uses it after that finds nothing there that it could use.
  void closeWindow() {
    std::destroy_at(std::exchange(window_, nullptr));
    place_.fill(std::byte{0xa5});
  }
  /// Lets the loop do what waits for it.
  ::testing::AssertionResult comesToAnEnd() {
    bool isOver = false;
    const auto end = [](gpointer flag) -> gboolean {
      *static_cast<bool*>(flag) = true;
      return G_SOURCE_REMOVE;
    };
    g_idle_add(end, &isOver);
    return comes("an idle moment", [&] { return isOver; });
  }

  /// Lets the application live until something is as it should be.
  ::testing::AssertionResult comes(const char* what, const std::function<bool()>& isSo) {
    bool isOver = false;
    const auto ring = [](gpointer flag) -> gboolean {
      *static_cast<bool*>(flag) = true;
      return G_SOURCE_REMOVE;
    };
    // What is waited for may come without anything that the loop sees.
    const guint look = g_timeout_add(
        20, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    const guint end = g_timeout_add_seconds(60, ring, &isOver);
    while (!isSo() && !isOver) g_main_context_iteration(nullptr, TRUE);
    g_source_remove(look);
    if (isOver) return ::testing::AssertionFailure() << what << " did not come";
    g_source_remove(end);
    return ::testing::AssertionSuccess();
  }

  /// Lets frames pass until the line below a list has been the same in twenty of them, and nothing is under way.
  ::testing::AssertionResult comesToRest(const char* list) {
    struct Watch {
      GtkDesktop* test;
      const char* list;
      std::string said{};
      int frames = 0;
    } watch{this, list};
    const auto look = [](GtkWidget*, GdkFrameClock*, gpointer data) -> gboolean {
      auto& seen = *static_cast<Watch*>(data);
      const std::string now = seen.test->stateOf(seen.list);
      seen.frames = now == seen.said && now != "Loading …" ? seen.frames + 1 : 0;
      seen.said = now;
      return G_SOURCE_CONTINUE;
    };
    const guint tick = gtk_widget_add_tick_callback(window(), look, &watch, nullptr);
    const auto came = comes("rest", [&] { return watch.frames >= 20; });
    gtk_widget_remove_tick_callback(window(), tick);
    return came;
  }

  GtkWidget* find(const char* name) {
    GtkWidget* const found = findIn(window(), name);
    if (found == nullptr) {
      ADD_FAILURE() << "there is no " << name;
      std::abort();
    }
    return found;
  }
  bool isShown(const char* name) { return gtk_widget_get_mapped(find(name)) != FALSE; }
  /// The text of a label that can be seen; empty when it cannot.
  std::string shown(const char* label) {
    return isShown(label) ? gtk_label_get_text(GTK_LABEL(find(label))) : std::string();
  }
  /// The line below a list.
  std::string stateOf(const char* list) {
    GtkWidget* const column = gtk_widget_get_parent(gtk_widget_get_parent(find(list)));
    return gtk_label_get_text(GTK_LABEL(findIn(column, "state")));
  }
  void click(const char* button) { g_signal_emit_by_name(find(button), "clicked"); }
  void type(const char* field, const char* text) { gtk_editable_set_text(GTK_EDITABLE(find(field)), text); }
  void open(const char* stack, const char* page) {
    gtk_stack_set_visible_child_name(GTK_STACK(find(stack)), page);
  }
  void signIn() {
    // An earlier one may still be at its end: its user is being written.
    ASSERT_TRUE(
        comes("the form's turn", [this] { return gtk_widget_get_sensitive(find("signIn")) != FALSE; }));
    type("mobile", "13800000001");
    type("password", "classroom");
    g_signal_emit_by_name(find("password"), "activate");
    ASSERT_TRUE(comes("the list of courses", [this] { return isShown("recorded"); }))
        << "the page says: " << shown("why") << " / " << shown("error");
  }

  /// A row of a list that can be seen, by what its widgets show.
  struct Row {
    std::int64_t room;
    std::string title, details;
  };
  std::vector<Row> rowsOnScreen(const char* name) {
    std::vector<Row> rows;
    GtkWidget* const list = find(name);
    if (gtk_widget_get_mapped(list) == FALSE) return rows;
    for (GtkWidget* child = gtk_widget_get_first_child(list); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
      GtkWidget* const row = findIn(child, "row");
      if (row == nullptr || !isInside(child, list)) continue;
      GtkWidget* const title = gtk_widget_get_first_child(row);
      rows.push_back({std::strtoll(gtk_widget_get_name(title), nullptr, 10),
                      gtk_label_get_text(GTK_LABEL(title)),
                      gtk_label_get_text(GTK_LABEL(findIn(row, "details")))});
    }
    return rows;
  }
  /// How many rows there are, seen or not.
  guint countOf(const char* list) {
    return g_list_model_get_n_items(G_LIST_MODEL(gtk_list_view_get_model(GTK_LIST_VIEW(find(list)))));
  }
  void scrollTo(const char* list, bool isEnd) {
    GtkAdjustment* const scroll = gtk_scrollable_get_vadjustment(GTK_SCROLLABLE(find(list)));
    gtk_adjustment_set_value(scroll, isEnd ? gtk_adjustment_get_upper(scroll) : 0);
  }
  /// Whether each row that can be seen is what the server has.
  void expectServersRows(const char* list) {
    const auto rows = rowsOnScreen(list);
    EXPECT_FALSE(rows.empty());
    for (const Row& row : rows) {
      const auto course = server.course(row.room);
      ASSERT_TRUE(course) << row.room << " " << row.title;
      EXPECT_EQ(row.title, std::string(course->at("title").as_string())) << row.room;
    }
  }

  /// Keeps a picture of the window where somebody wants them.
  void picture(const char* name) {
    const char* const folder = std::getenv("ORV_PICTURES");
    if (folder == nullptr) return;
    GdkPaintable* const painted = gtk_widget_paintable_new(window());
    GskRenderNode* node = nullptr;
    // It has what was drawn last, and nothing before that.
    ASSERT_TRUE(comes("a drawing", [&] {
      gtk_widget_queue_draw(window());
      GtkSnapshot* const snapshot = gtk_snapshot_new();
      gdk_paintable_snapshot(painted, snapshot, gtk_widget_get_width(window()),
                             gtk_widget_get_height(window()));
      node = gtk_snapshot_free_to_node(snapshot);
      return node != nullptr;
    }));
    GdkTexture* const texture =
        gsk_renderer_render_texture(gtk_native_get_renderer(GTK_NATIVE(window())), node, nullptr);
    EXPECT_TRUE(gdk_texture_save_to_png(texture, (std::string(folder) + "/" + name + ".png").c_str()));
    g_object_unref(texture);
    gsk_render_node_unref(node);
    g_object_unref(painted);
  }

  orv::DevServer server;

 private:
  static GtkWidget* findIn(GtkWidget* widget, std::string_view name) {
    if (name == gtk_widget_get_name(widget)) return widget;
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
      if (GtkWidget* const found = findIn(child, name)) return found;
    }
    return nullptr;
  }
  static bool isInside(GtkWidget* row, GtkWidget* list) {
    graphene_rect_t place;
    if (gtk_widget_get_mapped(row) == FALSE || !gtk_widget_compute_bounds(row, list, &place)) return false;
    return place.origin.y + place.size.height > 0 &&
           place.origin.y < static_cast<float>(gtk_widget_get_height(list));
  }

  const orv::test::VirtualDisplay display_;
  std::unique_ptr<orv::Client> client_;
  alignas(Window) std::array<std::byte, sizeof(Window)> place_{};
  Window* window_ = nullptr;
};

}  // namespace classroom_gtk
