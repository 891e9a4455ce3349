#include <tests/qt/Printing.h>

#include <examples/classroom/Language.h>
#include <gtest/gtest.h>

#include <QDate>
#include <QDateTime>
#include <QTime>

namespace classroom::language_test {
namespace {

/// What is said of a day so many days from now; once more where the day ends meanwhile.
QString saidOf(int days) {
  for (;;) {
    const QDate today = QDate::currentDate();
    const QString said = sayMoment(QDateTime(today.addDays(days), QTime(14, 30)));
    if (QDate::currentDate() == today) return said;
  }
}

TEST(DesktopLanguage, SaysTheDayWhereItIsNear) {
  setLanguage(Language::English);
  EXPECT_EQ(saidOf(0), "Today 14:30");
  EXPECT_EQ(saidOf(1), "Tomorrow 14:30");
  EXPECT_EQ(saidOf(-1), "Yesterday 14:30");
  setLanguage(Language::Chinese);
  EXPECT_EQ(saidOf(0), "今天 14:30");
  EXPECT_EQ(saidOf(1), "明天 14:30");
  EXPECT_EQ(saidOf(-1), "昨天 14:30");
}

TEST(DesktopLanguage, SaysTheYearOnlyWhereItIsAnother) {
  setLanguage(Language::English);
  const QDate today = QDate::currentDate();
  // Near neither today nor the turn of the year.
  const QDate day(today.year(), today.month() == 6 ? 3 : 6, 15);
  EXPECT_FALSE(sayDay(QDateTime(day, QTime(14, 30))).contains(QString::number(day.year())));
  EXPECT_TRUE(sayDay(QDateTime(day, QTime(14, 30))).contains("15 "));
  const QDate before = day.addYears(-1);
  EXPECT_TRUE(sayDay(QDateTime(before, QTime(14, 30))).endsWith(QString::number(before.year())));
}

// The system's language is looked up once, so each has a process of its own.
TEST(DesktopLanguage, IsChineseWhereTheSystemIs) {
  qputenv("LC_ALL", "zh_CN.UTF-8");
  EXPECT_EQ(language(), Language::Chinese);
}
TEST(DesktopLanguage, IsEnglishWhereTheSystemHasAThirdOne) {
  qputenv("LC_ALL", "de_DE.UTF-8");
  EXPECT_EQ(language(), Language::English);
}

}  // namespace
}  // namespace classroom::language_test
