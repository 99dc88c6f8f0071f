#include "helper/archive/Qcow2Space.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace zpk {
namespace {

constexpr std::uint64_t clusterSize = 16'384;

TEST(Qcow2Space, NothingInUseIsGivenOutAndNothingTwice) {
  std::mt19937_64 random(8);
  Qcow2Space space(clusterSize, 1000 * clusterSize);
  std::set<std::uint64_t> taken;
  for (std::uint64_t i = 0; i < 1000; ++i) {
    if (i != 0 && random() % 3 == 0) continue;
    ASSERT_TRUE(space.use(i));
    taken.insert(i);
  }
  std::uint64_t packedEnd = 0;
  for (int i = 0; i < 2000; ++i) {
    const std::uint64_t count = 1 + random() % 3;
    const std::uint64_t first = space.take(count);
    for (std::uint64_t c = first; c < first + count; ++c) ASSERT_TRUE(taken.insert(c).second) << c;
    const std::size_t bytes = 1 + random() % (clusterSize - 1);
    const std::uint64_t place = space.takePacked(bytes);
    ASSERT_TRUE(place >= packedEnd || taken.count(place / clusterSize) == 0) << "frames overlap";
    for (std::uint64_t c = divideUp(place, clusterSize); c <= (place + bytes - 1) / clusterSize; ++c) {
      ASSERT_TRUE(taken.insert(c).second) << c;
    }
    // The cluster that the frame begins in is one of frames alone.
    taken.insert(place / clusterSize);
    packedEnd = place + bytes;
  }
  space.endPacking();
  EXPECT_EQ(space.usedEnd(), *taken.rbegin() + 1);
  for (auto run = space.nextUnused(0); run; run = space.nextUnused(run->first + run->count)) {
    ASSERT_TRUE(taken.lower_bound(run->first) == taken.lower_bound(run->first + run->count)) << "in use";
  }
}

TEST(Qcow2Space, WhatIsFreeIsUsedBeforeTheFileGrows) {
  Qcow2Space space(clusterSize, 100 * clusterSize);
  ASSERT_TRUE(space.use(0, 40));
  ASSERT_TRUE(space.use(50, 50));
  EXPECT_FALSE(space.use(99, 2));
  EXPECT_FALSE(space.use(UINT64_MAX, 1));
  for (std::uint64_t i = 40; i < 50; ++i) EXPECT_EQ(space.take(), i);
  EXPECT_EQ(space.clusters(), 100U);
  EXPECT_EQ(space.take(3), 100U);
  EXPECT_EQ(space.clusters(), 103U);
}

TEST(Qcow2Space, ARunThatIsTooShortForManyIsLeftToOthers) {
  Qcow2Space space(clusterSize, 20 * clusterSize);
  for (std::uint64_t i = 0; i < 20; ++i) {
    if (i != 5 && (i < 10 || i > 12)) {
      ASSERT_TRUE(space.use(i));
    }
  }
  EXPECT_EQ(space.take(2), 10U);
  EXPECT_EQ(space.take(), 5U);
  EXPECT_EQ(space.take(), 12U);
}

TEST(Qcow2Space, WhatIsLeftOfTheRoomForFramesCanBeHadAgain) {
  Qcow2Space space(clusterSize, clusterSize);
  ASSERT_TRUE(space.use(0));
  EXPECT_EQ(space.takePacked(100), clusterSize);
  EXPECT_EQ(space.takePacked(100), clusterSize + 100);
  EXPECT_GT(space.clusters(), 2U);
  space.endPacking();
  EXPECT_EQ(space.usedEnd(), 2U);
  EXPECT_EQ(space.take(), 2U);
}

// Looking at all of the hole for each of them would take minutes.
TEST(Qcow2Space, GivesOutALargeHoleALittleAtATime) {
  constexpr std::uint64_t clusters = std::uint64_t{1} << 27U;
  Qcow2Space space(clusterSize, clusters * clusterSize);
  for (std::uint64_t i = 0; i < 200'000; ++i) ASSERT_EQ(space.take(), i);
  EXPECT_EQ(space.takePacked(100), 200'000 * clusterSize);
  EXPECT_EQ(space.take(), 200'064U) << "what is set aside for compressed clusters is bounded";
}

}  // namespace
}  // namespace zpk
