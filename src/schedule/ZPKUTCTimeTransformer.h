#pragma once

#include "app/presentation/ValueTransformer.h"
#include "base/TimeZone.h"

namespace zpk {

// Between a stored time of day (a wall-clock time read as if it were UTC: 09:30 is 34,200 s after the epoch) and
// the date that a time picker working in the local zone must show for its hour and minute to equal the stored ones.
// The zone's offset is the one in force at the date given, not now. Main thread.
class ZPKUTCTimeTransformer final : public ValueTransformer {
 public:
  // `zone` outlives this.
  explicit ZPKUTCTimeTransformer(const TimeZone& zone) : _zone(zone) {}

  std::string_view className() const override { return "ZPKUTCTimeTransformer"; }
  ValueClass transformedValueClass() const override { return ValueClass::Date; }
  bool allowsReverseTransformation() const override { return true; }
  // Stored to shown; the null value for anything but a date.
  Value transformedValue(const Value& stored) const override;
  // Shown to stored; the null value for anything but a date.
  Value reverseTransformedValue(const Value& shown) const override;

 private:
  const TimeZone& _zone;
};

}  // namespace zpk
