#include "platform/qt/QtDateFormatter.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QStringList>
#include <cmath>

#include "platform/qt/QtText.h"

namespace zpk {
namespace {

// Beyond this many milliseconds from 1970 (some 140,000 years) no calendar reaches.
constexpr double kFarthest = 4.4e15;

// The locale's long form without the name of the weekday and what stands between that and the rest.
QString fullDateFormat(const QLocale& locale) {
  static const QRegularExpression weekday(
      QStringLiteral("^'?[^'dMy]*dddd[ ,،፣.、]*|[ ,،、(]*dddd([^'dMy]|'[^']*')*$"));
  QString format = locale.dateFormat(QLocale::LongFormat);
  return format.remove(weekday).trimmed();
}

// The same with the month's name cut short.
QString mediumDateFormat(const QLocale& locale) {
  return fullDateFormat(locale).replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
}

// The locale's long form without the name of the time zone.
QString mediumTimeFormat(const QLocale& locale) {
  static const QRegularExpression zone(QStringLiteral("[ ,(\\[]*t+[ )\\]]*"));
  return locale.timeFormat(QLocale::LongFormat).remove(zone).trimmed();
}

QString dateFormat(const QLocale& locale, DateStyle style) {
  switch (style) {
    case DateStyle::none:
      return {};
    case DateStyle::brief:
      return locale.dateFormat(QLocale::ShortFormat);
    case DateStyle::medium:
      return mediumDateFormat(locale);
    case DateStyle::full:
      return fullDateFormat(locale);
  }
  return {};
}

QString timeFormat(const QLocale& locale, DateStyle style) {
  switch (style) {
    case DateStyle::none:
      return {};
    case DateStyle::brief:
      return locale.timeFormat(QLocale::ShortFormat);
    case DateStyle::medium:
      return mediumTimeFormat(locale);
    case DateStyle::full:
      return locale.timeFormat(QLocale::LongFormat);
  }
  return {};
}

QString joined(const QString& date, const QString& time) {
  QStringList parts{date, time};
  parts.removeAll(QString());
  return parts.join(u' ');
}

}  // namespace

QtDateFormatter::QtDateFormatter(DateStyle date, DateStyle time, const QLocale& locale,
                                 std::optional<QTimeZone> zone)
    : _locale(locale),
      _format(joined(dateFormat(locale, date), timeFormat(locale, time))),
      _zone(std::move(zone)) {}

std::string QtDateFormatter::stringFromDate(const Date& date) const {
  const double milliseconds = std::floor(date.secondsSince1970 * 1000);
  if (_format.isEmpty() || !(std::abs(milliseconds) <= kFarthest)) return {};
  const auto whole = static_cast<qint64>(milliseconds);
  const QDateTime moment =
      _zone ? QDateTime::fromMSecsSinceEpoch(whole, *_zone) : QDateTime::fromMSecsSinceEpoch(whole);
  return plainText(_locale.toString(moment, _format));
}

}  // namespace zpk
