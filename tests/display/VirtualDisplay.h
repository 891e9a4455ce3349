#pragma once

#include <sys/types.h>

#include <string>

namespace orv::test {

/// An X server without a screen, for tests of programs with windows. It ends with the object, and with the process.
class VirtualDisplay {
 public:
  /// Returns when clients can come. Throws `std::runtime_error` when there is no such server.
  VirtualDisplay();
  ~VirtualDisplay();
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;

  /// What `DISPLAY` has to be.
  const std::string& name() const { return name_; }

 private:
  void start();
  void end();

  pid_t process_ = -1;
  std::string name_;
};

}  // namespace orv::test
