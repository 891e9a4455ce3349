#pragma once

#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QString>

namespace classroom {

/// A label, button or frame of one of the kinds that the look knows, with a name by which tests find it.
QLabel* makeLabel(const char* kind, const QString& text = {}, const char* name = "");
QPushButton* makeButton(const char* kind, const QString& text, const char* name);
QFrame* makeFrame(const char* kind);

}  // namespace classroom
