#pragma once

#include <cstdint>

namespace zpk {

// The sizes between two ends that a slider with steps can give: step 0 is the smallest size, the last step the
// largest, each to the byte, and the steps between them are round sizes (multiples of 1, 2 or 5 times a power of
// ten), few enough for a key press each to be felt. A value. Sizes are bytes.
class SizeSteps {
 public:
  // With `least` not below `most` there is one step.
  SizeSteps(std::uint64_t least, std::uint64_t most);

  int last() const { return _last; }
  // From one round size to the next.
  std::uint64_t unit() const { return _unit; }
  // Steps that a page key moves by.
  int page() const;
  // `step` beyond either end is that end.
  std::uint64_t sizeAt(int step) const;
  // The step nearest to the size.
  int stepNearest(std::uint64_t size) const;

 private:
  std::uint64_t _least;
  std::uint64_t _most;
  std::uint64_t _unit = 1;
  int _last = 0;
};

}  // namespace zpk
