#include "Desktop.h"

#include <QPalette>
#include <QRegularExpression>

namespace classroom::look_test {
namespace {

class DesktopLook : public Desktop {};

TEST_F(DesktopLook, IsDarkWhereTheSystemIs) {
  QApplication::setPalette(QPalette(Qt::black));
  applyLook(Shade::System);
  EXPECT_TRUE(look().isDark);
  applyLook(Shade::Light);
  EXPECT_FALSE(look().isDark) << "the person has chosen";
}

TEST_F(DesktopLook, IsLightWhereTheSystemIs) {
  QApplication::setPalette(QPalette(Qt::white));
  applyLook(Shade::System);
  EXPECT_FALSE(look().isDark);
  applyLook(Shade::Dark);
  EXPECT_TRUE(look().isDark) << "the person has chosen";
}

TEST_F(DesktopLook, GivesEachColourOfTheStyle) {
  for (const Shade shade : {Shade::Light, Shade::Dark}) {
    applyLook(shade);
    const QRegularExpression left(QStringLiteral("\\{\\w+\\}"));
    EXPECT_EQ(left.match(qApp->styleSheet()).captured(), "");
    EXPECT_TRUE(qApp->styleSheet().contains(look().accent.name()));
    EXPECT_EQ(QApplication::palette().color(QPalette::WindowText), look().text);
  }
}

TEST_F(DesktopLook, ShowsTextsOfOthersAsTheyAreAndNotAsMarkup) {
  start();
  for (const QLabel* label : window().findChildren<QLabel*>()) {
    EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->objectName().toStdString();
  }
}

}  // namespace
}  // namespace classroom::look_test
