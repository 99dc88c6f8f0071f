#pragma once

#include <QTimeZone>
#include <optional>

#include "base/TimeZone.h"

namespace zpk {

// A zone of the time zone data base. A date beyond any calendar has the offset 0.
class QtTimeZone final : public TimeZone {
 public:
  // Without a zone: the system's, also when it changes.
  explicit QtTimeZone(std::optional<QTimeZone> zone = std::nullopt) : _zone(std::move(zone)) {}

  std::int32_t secondsFromGMTForDate(const Date& date) const override;

 private:
  std::optional<QTimeZone> _zone;
};

}  // namespace zpk
