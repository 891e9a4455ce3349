#include "Look.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QStringList>
#include <QStyleFactory>
#include <array>

namespace classroom {

namespace {

Look lightLook() {
  return {.isDark = false,
          .page = QColor("#f4f5f8"),
          .card = QColor("#ffffff"),
          .raised = QColor("#eceef3"),
          .side = QColor("#ffffff"),
          .text = QColor("#1d2330"),
          .faint = QColor("#6b7385"),
          .line = QColor("#dfe2ea"),
          .accent = QColor("#3461d9"),
          .onAccent = QColor("#ffffff"),
          .selection = QColor("#e6edff"),
          .good = QColor("#1c8a52"),
          .warning = QColor("#a8620b"),
          .danger = QColor("#c5323d")};
}

Look darkLook() {
  return {.isDark = true,
          .page = QColor("#14171d"),
          .card = QColor("#1d2128"),
          .raised = QColor("#2a2f39"),
          .side = QColor("#191c23"),
          .text = QColor("#e7eaf0"),
          .faint = QColor("#98a1b3"),
          .line = QColor("#323844"),
          .accent = QColor("#7ea2ff"),
          .onAccent = QColor("#10182b"),
          .selection = QColor("#263352"),
          .good = QColor("#5fd39a"),
          .warning = QColor("#f0b35c"),
          .danger = QColor("#ff8087")};
}

Look& current() {
  static Look look = lightLook();
  return look;
}

QPalette paletteOf(const Look& look) {
  QPalette palette(look.raised, look.page);
  palette.setColor(QPalette::Window, look.page);
  palette.setColor(QPalette::Base, look.card);
  palette.setColor(QPalette::AlternateBase, look.raised);
  palette.setColor(QPalette::Button, look.raised);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(role, look.text);
  }
  palette.setColor(QPalette::PlaceholderText, look.faint);
  palette.setColor(QPalette::Highlight, look.accent);
  palette.setColor(QPalette::HighlightedText, look.onAccent);
  palette.setColor(QPalette::ToolTipBase, look.card);
  palette.setColor(QPalette::ToolTipText, look.text);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, look.faint);
  }
  return palette;
}

// The names in braces are the colours of the look.
constexpr const char* kStyle = R"(
QLineEdit, QComboBox { background: {card}; border: 1px solid {line}; border-radius: 8px; padding: 8px 12px; }
QLineEdit:focus, QComboBox:focus { border: 2px solid {accent}; padding: 7px 11px; }
QComboBox::drop-down { border: none; width: 26px; }
QPushButton { background: {raised}; border: 1px solid {line}; border-radius: 8px; padding: 8px 16px; }
QPushButton:hover { border-color: {accent}; }
QPushButton:focus { border: 2px solid {accent}; padding: 7px 15px; }
QPushButton:disabled { color: {faint}; }
QPushButton[kind="primary"] { background: {accent}; color: {onAccent}; border: 2px solid {accent}; font-weight: bold; }
QPushButton[kind="primary"]:disabled { background: {raised}; color: {faint}; border-color: {line}; }
QPushButton[kind="primary"]:focus { border: 2px solid {text}; padding: 8px 16px; }
QPushButton[kind="quiet"] { background: transparent; border-color: transparent; }
QPushButton[kind="quiet"]:focus { border: 2px solid {accent}; }
QPushButton[kind="place"] { background: transparent; border: 2px solid transparent; text-align: left;
  padding: 10px 14px; }
QPushButton[kind="place"]:hover { background: {raised}; }
QPushButton[kind="place"]:checked { background: {selection}; color: {accent}; font-weight: bold; }
QPushButton[kind="place"]:focus { border-color: {accent}; }
QPushButton[kind="tab"] { background: transparent; border: 1px solid {line}; border-radius: 15px; padding: 6px 16px; }
QPushButton[kind="tab"]:checked { background: {selection}; color: {accent}; border-color: {accent}; }
QPushButton[kind="tab"]:focus { border: 2px solid {accent}; padding: 5px 15px; }
QLabel[kind="title"] { font-size: 20pt; font-weight: bold; }
QLabel[kind="name"] { font-weight: bold; }
QLabel[kind="faint"] { color: {faint}; }
QLabel[kind="error"] { color: {danger}; }
QFrame[kind="side"] { background: {side}; border: none; border-right: 1px solid {line}; }
QFrame[kind="card"] { background: {card}; border: 1px solid {line}; border-radius: 14px; }
QFrame[kind="banner"] { background: {raised}; border: none; border-left: 4px solid {warning}; border-radius: 8px; }
QFrame[kind="banner"][grave="true"] { border-left-color: {danger}; }
QFrame#banner { margin: 10px 12px 10px 12px; }
QListView { background: transparent; border: none; outline: none; }
QListView:focus { border: none; }
QScrollBar:vertical { background: transparent; width: 10px; }
QScrollBar::handle:vertical { background: {line}; border-radius: 5px; min-height: 40px; }
QScrollBar::add-line, QScrollBar::sub-line { height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
)";

QString styleOf(const Look& look) {
  QString style = QString::fromUtf8(kStyle);
  const std::pair<const char*, QColor> colours[] = {
      {"{page}", look.page},           {"{card}", look.card},     {"{raised}", look.raised},
      {"{side}", look.side},           {"{text}", look.text},     {"{faint}", look.faint},
      {"{line}", look.line},           {"{accent}", look.accent}, {"{onAccent}", look.onAccent},
      {"{selection}", look.selection}, {"{danger}", look.danger}, {"{warning}", look.warning}};
  for (const auto& [name, colour] : colours) style.replace(QLatin1String(name), colour.name());
  return style;
}

/// Whether the desktop is dark, by the palette that the program was started with.
bool isSystemDark() {
  static const bool isDark = QApplication::palette().color(QPalette::Window).lightness() < 128;
  return isDark;
}

}  // namespace

const Look& look() {
  return current();
}

void applyLook(Shade shade) {
  const bool isDark = shade == Shade::Dark || (shade == Shade::System && isSystemDark());
  current() = isDark ? darkLook() : lightLook();
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  QApplication::setPalette(paletteOf(current()));
  QFont font(QStringList{QStringLiteral("Noto Sans"), QStringLiteral("WenQuanYi Micro Hei"),
                         QStringLiteral("sans-serif")});
  font.setPointSizeF(10.5);
  QApplication::setFont(font);
  qApp->setStyleSheet(styleOf(current()));
}

QColor coverColour(qlonglong number) {
  constexpr std::array kHues{222, 262, 172, 24, 340, 198, 44, 300};
  const int hue =
      kHues[static_cast<std::size_t>(number % static_cast<qlonglong>(kHues.size()) + 8) % kHues.size()];
  return look().isDark ? QColor::fromHsl(hue, 90, 95) : QColor::fromHsl(hue, 120, 150);
}

}  // namespace classroom
