#pragma once

#include <QLocale>
#include <QString>
#include <QTimeZone>
#include <optional>

#include "base/DateFormatter.h"

namespace zpk {

// How much of a date, or of a time of day, is shown. In American English: none, "11/21/26" and "2:05 PM",
// "Nov 21, 2026" and "2:05:09 PM", "November 21, 2026" and "2:05:09 PM UTC".
enum class DateStyle { none, brief, medium, full };

// Dates in the words, the order and the digits of a locale. A date beyond any calendar gives an empty text.
class QtDateFormatter final : public DateFormatter {
 public:
  // Without a zone: the system's, also when it changes.
  QtDateFormatter(DateStyle date, DateStyle time, const QLocale& locale = QLocale(),
                  std::optional<QTimeZone> zone = std::nullopt);

  std::string stringFromDate(const Date& date) const override;
  // An offset that no zone has (beyond 16 hours) changes nothing.
  void setTimeZoneForSecondsFromGMT(std::int32_t seconds) override;
  std::array<std::string, 7> standaloneWeekdaySymbols() const override;

 private:
  QLocale _locale;
  QString _format;
  std::optional<QTimeZone> _zone;
};

}  // namespace zpk
