#include "choosers/SizeSteps.h"

#include <algorithm>

namespace zpk {
namespace {

constexpr std::uint64_t kMostSteps = 500;
constexpr int kPagesPerSlider = 12;

// The smallest of 1, 2, 5, 10, 20, 50, … that is not below `size`, which is far from the largest number.
std::uint64_t roundedUp(std::uint64_t size) {
  std::uint64_t power = 1;
  while (power * 10 < size) power *= 10;
  for (const std::uint64_t digit : {1U, 2U, 5U}) {
    if (power * digit >= size) return power * digit;
  }
  return power * 10;
}

}  // namespace

SizeSteps::SizeSteps(std::uint64_t least, std::uint64_t most) : _least(least), _most(std::max(least, most)) {
  if (_most == _least) return;
  _unit = roundedUp((_most - _least) / kMostSteps + 1);
  // The round sizes strictly between the two ends, and the upper end.
  _last = static_cast<int>((_most - 1) / _unit - _least / _unit) + 1;
}

int SizeSteps::page() const {
  return std::max(1, _last / kPagesPerSlider);
}

std::uint64_t SizeSteps::sizeAt(int step) const {
  if (step <= 0) return _least;
  if (step >= _last) return _most;
  return (_least / _unit + static_cast<std::uint64_t>(step)) * _unit;
}

int SizeSteps::stepNearest(std::uint64_t size) const {
  if (size <= _least) return 0;
  if (size >= _most) return _last;
  const int below = static_cast<int>(size / _unit - _least / _unit);
  const int above = std::min(below + 1, _last);
  return size - sizeAt(below) <= sizeAt(above) - size ? below : above;
}

}  // namespace zpk
