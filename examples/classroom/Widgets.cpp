#include "Widgets.h"

namespace classroom {

QLabel* makeLabel(const char* kind, const QString& text, const char* name) {
  auto* const label = new QLabel(text);
  label->setProperty("kind", kind);
  label->setObjectName(QLatin1String(name));
  label->setTextFormat(Qt::PlainText);
  return label;
}

QPushButton* makeButton(const char* kind, const QString& text, const char* name) {
  auto* const button = new QPushButton(text);
  button->setProperty("kind", kind);
  button->setObjectName(QLatin1String(name));
  button->setCursor(Qt::PointingHandCursor);
  return button;
}

QFrame* makeFrame(const char* kind) {
  auto* const frame = new QFrame;
  frame->setProperty("kind", kind);
  return frame;
}

}  // namespace classroom
