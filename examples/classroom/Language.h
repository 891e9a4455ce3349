#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

namespace classroom {

enum class Language { English, Chinese };

/// What the user's system is set to: Chinese where its language is, else English.
Language systemLanguage();
/// The language of all texts that are made from then on.
void setLanguage(Language language);
Language language();

/// A text in the language that is set; where it has "%1" an argument goes in.
QString say(const char* english, const char* chinese);
/// A moment in the user's zone and language, by the day where that is near: "Today 14:30".
QString sayMoment(const QDateTime& moment);
/// The same for the day alone.
QString sayDay(const QDateTime& moment);

}  // namespace classroom
