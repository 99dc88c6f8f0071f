#include "choosers/SizeSteps.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

namespace zpk {
namespace {

constexpr std::uint64_t kGB = 1'000'000'000;
constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

const std::vector<std::pair<std::uint64_t, std::uint64_t>> kRanges = {{50 * kGB, 200 * kGB},
                                                                      {20 * kGB + 1, 6000 * kGB - 1},
                                                                      {0, 1},
                                                                      {0, 499},
                                                                      {7, 1007},
                                                                      {0, kLargest},
                                                                      {1, kLargest},
                                                                      {kLargest - 3, kLargest},
                                                                      {5, 5},
                                                                      {0, 0},
                                                                      {9, 2},
                                                                      {1, 2},
                                                                      {1'999'999, 2'000'001},
                                                                      {(1ULL << 53) + 1, (1ULL << 60) + 1}};

TEST(SizeSteps, EndsAreReachedToTheByte) {
  for (const auto& [least, most] : kRanges) {
    const SizeSteps steps(least, most);
    EXPECT_EQ(steps.sizeAt(0), least);
    EXPECT_EQ(steps.sizeAt(-1), least);
    EXPECT_EQ(steps.sizeAt(steps.last()), std::max(least, most));
    EXPECT_EQ(steps.sizeAt(steps.last() + 1), std::max(least, most));
  }
}

TEST(SizeSteps, EveryStepIsLargerThanTheOneBefore) {
  for (const auto& [least, most] : kRanges) {
    const SizeSteps steps(least, most);
    EXPECT_LE(steps.last(), 502);
    for (int step = 1; step <= steps.last(); ++step) {
      ASSERT_GT(steps.sizeAt(step), steps.sizeAt(step - 1)) << least << " " << most << " " << step;
    }
  }
}

TEST(SizeSteps, EverySizeHasItsStepBack) {
  for (const auto& [least, most] : kRanges) {
    const SizeSteps steps(least, most);
    for (int step = 0; step <= steps.last(); ++step) {
      ASSERT_EQ(steps.stepNearest(steps.sizeAt(step)), step) << least << " " << most;
    }
    EXPECT_EQ(steps.stepNearest(0), 0);
    EXPECT_EQ(steps.stepNearest(kLargest), steps.last());
  }
}

TEST(SizeSteps, SizesBetweenTheEndsAreRound) {
  const SizeSteps steps(50 * kGB + 123, 200 * kGB + 456);
  for (int step = 1; step < steps.last(); ++step) EXPECT_EQ(steps.sizeAt(step) % (kGB / 2), 0U);
  EXPECT_EQ(steps.sizeAt(1), 50 * kGB + kGB / 2);
  EXPECT_GE(steps.page(), 20);
}

TEST(SizeSteps, SizeBetweenTwoStepsBelongsToTheNearer) {
  const SizeSteps steps(50 * kGB, 200 * kGB);
  EXPECT_EQ(steps.stepNearest(50 * kGB + 1), 0);
  EXPECT_EQ(steps.stepNearest(50 * kGB + kGB / 2 - 1), 1);
  EXPECT_EQ(steps.stepNearest(200 * kGB - 1), steps.last());
}

TEST(SizeSteps, NoRangeIsOneStep) {
  const SizeSteps steps(5 * kGB, 5 * kGB);
  EXPECT_EQ(steps.last(), 0);
  EXPECT_EQ(steps.page(), 1);
}

}  // namespace
}  // namespace zpk
