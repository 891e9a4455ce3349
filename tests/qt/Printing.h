#pragma once

#include <QString>
#include <ostream>

/// For messages of tests; found by the name of its class.
inline void PrintTo(const QString& text, std::ostream* out) {
  *out << text.toStdString();
}
