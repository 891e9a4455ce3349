#pragma once

#include <QCoreApplication>
#include <array>

namespace orv::test {

/// An application object without a display, as a test needs one.
class Application {
 public:
  QCoreApplication* operator->() { return &application_; }

 private:
  int count_ = 1;
  std::array<char, 5> name_{"test"};
  std::array<char*, 2> arguments_{name_.data(), nullptr};
  QCoreApplication application_{count_, arguments_.data()};
};

}  // namespace orv::test
