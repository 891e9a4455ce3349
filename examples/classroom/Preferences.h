#pragma once

#include "Language.h"
#include "Look.h"

#include <QString>

namespace classroom {

/// What a person has set: not of the school, but of this program. Kept in a file of their own.
struct Preferences {
  QString server;
  /// Empty: straight; "environment": as the environment says; else the address of a proxy.
  QString proxy;
  Language language = systemLanguage();
  Shade shade = Shade::System;

  /// @param file path of the file; one that is missing has nothing set
  static Preferences read(const QString& file);
  void write(const QString& file) const;
  /// Why server or proxy cannot be used; empty when they can.
  QString complaint() const;
};

}  // namespace classroom
