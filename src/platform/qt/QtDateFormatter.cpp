#include "platform/qt/QtDateFormatter.h"

#include <QRegularExpression>
#include <QStringList>

#include "platform/qt/QtMoment.h"
#include "platform/qt/QtText.h"

namespace zpk {
namespace {

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
  const std::optional<QDateTime> moment = qtMoment(date, _zone);
  if (_format.isEmpty() || !moment) return {};
  return plainText(_locale.toString(*moment, _format));
}

void QtDateFormatter::setTimeZoneForSecondsFromGMT(std::int32_t seconds) {
  if (const QTimeZone zone(seconds); zone.isValid()) _zone = zone;
}

std::array<std::string, 7> QtDateFormatter::standaloneWeekdaySymbols() const {
  std::array<std::string, 7> names;
  // Qt numbers the days from Monday, 1, to Sunday, 7.
  names[0] = plainText(_locale.standaloneDayName(7));
  for (int day = 1; day < 7; ++day)
    names[static_cast<std::size_t>(day)] = plainText(_locale.standaloneDayName(day));
  return names;
}

}  // namespace zpk
