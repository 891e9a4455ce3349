#pragma once

#include <QColor>
#include <QString>

namespace classroom {

/// The colours of the application, light or dark.
struct Look {
  bool isDark = false;
  QColor page, card, raised, side, text, faint, line;
  QColor accent, onAccent, selection;
  QColor good, warning, danger;
};

enum class Shade { System, Light, Dark };

/// The one in use.
const Look& look();
/// Takes it for all widgets of the application.
void applyLook(Shade shade);
/// A colour that belongs to a number and is the same each time: for a course's cover.
QColor coverColour(qlonglong number);

}  // namespace classroom
