#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Types.h>

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <cstdint>
#include <string>
#include <string_view>

/// What hosts on Qt 6 add to the library: the main queue in Qt's loop, models of the lists of courses, and objects with
/// properties and signals for what the front door tells.
namespace orv::qt {

/// The library's texts are UTF-8; bytes that are not become the replacement character. Any thread.
ORV_EXPORT QString text(std::string_view utf8);
/// An absent text is a null string.
ORV_EXPORT QString text(const OptionalString& utf8);
/// The way back. Any thread.
ORV_EXPORT std::string utf8(const QString& text);

/// A moment in local time; invalid for 0 and less, by which the server says that there is none. Any thread.
/// @param seconds since 1970
ORV_EXPORT QDateTime moment(std::int64_t seconds);
/// When a moment of the steady clock is or was, by the wall clock as it goes now. Any thread.
ORV_EXPORT QDateTime moment(SteadyTime time);

/// A JSON value as QML and models take it: an object is a `QVariantMap`, an array a `QVariantList`, null and absence an
/// invalid one. Any thread.
ORV_EXPORT QVariant variant(const json::value& value);

}  // namespace orv::qt
