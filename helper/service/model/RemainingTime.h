#pragma once

#include <cstdint>
#include <optional>

#include "base/RunLoop.h"

namespace zpk {

// Estimates how long an operation will still take from how fast it was of late.
//
// The rate is smoothed over some seconds, so that the estimate neither jumps with every burst nor clings to what
// was long ago; while nothing moves it grows. Nothing is said before the operation has moved for a second.
class RemainingTime {
 public:
  // `done` of `total` bytes at the time `now`; calls come in the order of time. Another total, or figures that go
  // back, begin anew.
  void update(Seconds now, std::uint64_t done, std::uint64_t total);

  std::optional<Seconds> estimate() const;

 private:
  struct Sample {
    Seconds time{};
    std::uint64_t done = 0;
  };
  std::optional<Sample> _first;
  Sample _last;
  std::uint64_t _total = 0;
  double _weighted = 0;  // Bytes a second, weighted by how recent they are.
  double _weight = 0;    // Sum of the weights: below 1 while there is little to go by.
};

}  // namespace zpk
