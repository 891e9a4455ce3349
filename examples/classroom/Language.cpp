#include "Language.h"

namespace classroom {

namespace {

Language& current() {
  static Language language = systemLanguage();
  return language;
}

QLocale locale() {
  return current() == Language::Chinese ? QLocale(QLocale::Chinese, QLocale::China)
                                        : QLocale(QLocale::English, QLocale::UnitedKingdom);
}

}  // namespace

Language systemLanguage() {
  return QLocale::system().language() == QLocale::Chinese ? Language::Chinese : Language::English;
}

void setLanguage(Language language) {
  current() = language;
}

Language language() {
  return current();
}

QString say(const char* english, const char* chinese) {
  return QString::fromUtf8(current() == Language::Chinese ? chinese : english);
}

QString sayDay(const QDateTime& moment) {
  const QDate day = moment.toLocalTime().date(), today = QDate::currentDate();
  const qint64 ahead = today.daysTo(day);
  if (ahead == 0) return say("Today", "今天");
  if (ahead == 1) return say("Tomorrow", "明天");
  if (ahead == -1) return say("Yesterday", "昨天");
  const bool isThisYear = day.year() == today.year();
  return locale().toString(day,
                           isThisYear ? say("ddd d MMM", "M月d日 ddd") : say("d MMM yyyy", "yyyy年M月d日"));
}

QString sayMoment(const QDateTime& moment) {
  return sayDay(moment) + QLatin1Char(' ') +
         locale().toString(moment.toLocalTime().time(), QStringLiteral("HH:mm"));
}

}  // namespace classroom
