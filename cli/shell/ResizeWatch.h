#pragma once

#include <signal.h>

namespace orv::cli {

/// Tells by a descriptor that the terminal has been resized. One at a time.
class ResizeWatch {
 public:
  ResizeWatch();
  ~ResizeWatch();
  ResizeWatch(const ResizeWatch&) = delete;
  ResizeWatch& operator=(const ResizeWatch&) = delete;

  /// Readable after a resize, until `forget`.
  int descriptor() const { return descriptor_; }
  void forget();

 private:
  int descriptor_;
  struct sigaction former_ {};
};

}  // namespace orv::cli
