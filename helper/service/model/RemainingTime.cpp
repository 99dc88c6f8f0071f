#include "helper/service/model/RemainingTime.h"

#include <cmath>

namespace zpk {
namespace {

constexpr Seconds kMemory{8.0};
constexpr Seconds kFirstWord{1.0};

}  // namespace

void RemainingTime::update(Seconds now, std::uint64_t done, std::uint64_t total) {
  // Another stage of the operation, with a measure of its own: how fast the one before was says nothing of it.
  if (_first && (total != _total || done < _last.done)) *this = {};
  _total = total;
  if (!_first) {
    if (total == 0) return;  // It has not begun to move.
    _first = _last = Sample{now, done};
    return;
  }
  const Seconds passed = now - _last.time;
  if (passed.count() <= 0) return;
  const double rate = static_cast<double>(done - _last.done) / passed.count();
  const double share = 1.0 - std::exp(-passed / kMemory);
  _weighted += share * (rate - _weighted);
  _weight += share * (1.0 - _weight);
  _last = Sample{now, done};
}

std::optional<Seconds> RemainingTime::estimate() const {
  if (!_first || _last.time - _first->time < kFirstWord || _weight <= 0) return std::nullopt;
  const double rate = _weighted / _weight;
  if (rate < 1) return std::nullopt;  // Nothing moves: any number would be made up.
  return Seconds(static_cast<double>(_total - _last.done) / rate);
}

}  // namespace zpk
