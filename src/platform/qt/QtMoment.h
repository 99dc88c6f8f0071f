#pragma once

#include <QDateTime>
#include <QTimeZone>
#include <cmath>
#include <optional>

#include "base/Value.h"

namespace zpk {

// A date as Qt's in a zone, or without one in the system's; nothing for a date beyond any calendar. Cut to
// milliseconds, away from what comes after.
inline std::optional<QDateTime> qtMoment(const Date& date, const std::optional<QTimeZone>& zone) {
  // Some 140,000 years from 1970, in milliseconds.
  constexpr double kFarthest = 4.4e15;
  const double milliseconds = std::floor(date.secondsSince1970 * 1000);
  if (!(std::abs(milliseconds) <= kFarthest)) return std::nullopt;
  const auto whole = static_cast<qint64>(milliseconds);
  return zone ? QDateTime::fromMSecsSinceEpoch(whole, *zone) : QDateTime::fromMSecsSinceEpoch(whole);
}

}  // namespace zpk
