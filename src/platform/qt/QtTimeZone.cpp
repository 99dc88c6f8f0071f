#include "platform/qt/QtTimeZone.h"

#include "platform/qt/QtMoment.h"

namespace zpk {

std::int32_t QtTimeZone::secondsFromGMTForDate(const Date& date) const {
  const std::optional<QDateTime> moment = qtMoment(date, _zone);
  return moment ? moment->offsetFromUtc() : 0;
}

}  // namespace zpk
