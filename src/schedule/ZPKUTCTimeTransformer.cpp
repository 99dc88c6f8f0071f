#include "schedule/ZPKUTCTimeTransformer.h"

namespace zpk {

Value ZPKUTCTimeTransformer::transformedValue(const Value& stored) const {
  const Date* date = stored.date();
  if (date == nullptr) return {};
  return Date{date->secondsSince1970 - _zone.secondsFromGMTForDate(*date)};
}

Value ZPKUTCTimeTransformer::reverseTransformedValue(const Value& shown) const {
  const Date* date = shown.date();
  if (date == nullptr) return {};
  return Date{date->secondsSince1970 + _zone.secondsFromGMTForDate(*date)};
}

}  // namespace zpk
