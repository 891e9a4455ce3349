#pragma once

#include "Application.h"
#include <tests/support/SchoolClientFixture.h>

#include <QCoreApplication>

namespace orv {

/// A client of a small school on the simulated platform, and an application object for what needs one.
class SchoolFixture : public SchoolClientFixture {
 protected:
  using SchoolClientFixture::SchoolClientFixture;

  /// Lets everything that Qt has put off happen, and what comes of it.
  void settle() {
    platform.settle();
    QCoreApplication::processEvents();
    platform.settle();
  }

  test::Application application;
};

}  // namespace orv
