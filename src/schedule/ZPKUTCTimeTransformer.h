#pragma once

#include "app/presentation/ValueTransformer.h"
#include "base/TimeZone.h"

namespace zpk {

// Between a stored time of day (a wall-clock time read as if it were UTC: 09:30 is 34,200 s after the epoch) and
// the date that a time picker working in the local zone must show for its hour and minute to equal the stored ones.
// The zone's offset is the one in force at the date given, not now. Main thread.
class ZPKUTCTimeTransformer {
 public:
  // `zone` outlives this.
  explicit ZPKUTCTimeTransformer(const TimeZone& zone) : _zone(zone) {}

  static constexpr bool allowsReverseTransformation() { return true; }
  static constexpr ValueTransformer::ValueClass transformedValueClass() {
    return ValueTransformer::ValueClass::Date;
  }
  // Stored to shown; the null value for anything but a date.
  Value transformedValue(const Value& stored) const;
  // Shown to stored; the null value for anything but a date.
  Value reverseTransformedValue(const Value& shown) const;

 private:
  const TimeZone& _zone;
};

}  // namespace zpk
