#pragma once

#include <glib-object.h>

#include <functional>
#include <utility>
#include <vector>

namespace classroom_gtk {

/// What an object of C++ hears of objects of GTK's. When it is gone nothing is called any more.
class Signals {
 public:
  Signals() = default;
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  /// Calls `what` at each `signal` of the object.
  void on(gpointer object, const char* signal, std::function<void()> what);

 private:
  std::vector<std::pair<GObject*, gulong>> heard_;
};

}  // namespace classroom_gtk
