#include "orvnetwork_qt/Convert.h"

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/Platform.h>

#include <QVariantList>
#include <QVariantMap>
#include <chrono>

namespace orv::qt {

QString text(std::string_view utf8) {
  return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

QString text(const OptionalString& utf8) {
  return utf8 ? text(std::string_view(*utf8)) : QString();
}

std::string utf8(const QString& text) {
  return text.toStdString();
}

QDateTime moment(std::int64_t seconds) {
  return seconds > 0 ? QDateTime::fromSecsSinceEpoch(seconds) : QDateTime();
}

QDateTime moment(SteadyTime time) {
  using std::chrono::duration_cast;
  using std::chrono::milliseconds;
  Clock& clock = Platform::current().clock();
  const auto wall = duration_cast<milliseconds>(clock.wallNow().time_since_epoch());
  return QDateTime::fromMSecsSinceEpoch(
      (wall + duration_cast<milliseconds>(time - clock.steadyNow())).count());
}

QVariant variant(const json::value& value) {
  switch (value.kind()) {
    case json::kind::null:
      return {};
    case json::kind::bool_:
      return value.get_bool();
    case json::kind::int64:
      return QVariant::fromValue(static_cast<qlonglong>(value.get_int64()));
    case json::kind::uint64:
      return QVariant::fromValue(static_cast<qulonglong>(value.get_uint64()));
    case json::kind::double_:
      return value.get_double();
    case json::kind::string:
      return text(std::string_view(value.get_string()));
    case json::kind::array: {
      QVariantList list;
      for (const json::value& item : value.get_array()) list.append(variant(item));
      return list;
    }
    case json::kind::object: {
      QVariantMap map;
      for (const auto& [key, item] : value.get_object()) {
        map.insert(text(std::string_view(key)), variant(item));
      }
      return map;
    }
  }
  return {};
}

}  // namespace orv::qt
