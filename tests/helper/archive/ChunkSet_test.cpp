#include "helper/archive/ChunkSet.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace zpk {
namespace {

// What the set has to answer, from numbers one by one.
void expectSame(const ChunkSet& set, const std::set<std::uint64_t>& expected, std::uint64_t end) {
  ASSERT_EQ(set.count(), expected.size());
  auto next = expected.begin();
  std::uint64_t rank = 0;
  for (std::uint64_t chunk = 0; chunk < end; ++chunk) {
    const bool isMember = next != expected.end() && *next == chunk;
    ASSERT_EQ(set.rankOf(chunk), isMember ? std::optional(rank) : std::nullopt) << chunk;
    ASSERT_EQ(set.next(chunk), next == expected.end() ? std::nullopt : std::optional(*next)) << chunk;
    if (isMember) {
      ++rank;
      ++next;
    }
  }
}

void expectStretches(const ChunkSet& set) {
  ChunkSet copy;
  for (auto run = set.nextStretch(0); run; run = set.nextStretch(run->first + run->count)) {
    ASSERT_EQ(set.rankOf(run->first + run->count), std::nullopt) << "the stretch goes on";
    copy.add(run->first, run->count);
  }
  EXPECT_EQ(copy.count(), set.count());
  EXPECT_EQ(copy.stretches(), set.stretches());
  EXPECT_EQ(copy.end(), set.end());
}

TEST(ChunkSet, AnswersLikeASetOfNumbersHoweverTheyLie) {
  std::mt19937_64 random(3);
  // How far stretches and gaps go: from every other chunk to stretches over several blocks.
  for (const std::uint64_t longest : {1U, 3U, 40U, 1'000U, 90'000U}) {
    ChunkSet set;
    std::set<std::uint64_t> expected;
    std::uint64_t next = 0;
    while (next < 300'000) {
      const std::uint64_t first = next + (next == 0 ? 0 : 1) + random() % longest;
      const std::uint64_t count = 1 + random() % longest;
      set.add(first, count);
      for (std::uint64_t i = 0; i < count; ++i) expected.insert(first + i);
      next = first + count;
    }
    SCOPED_TRACE(longest);
    expectSame(set, expected, next + 10);
    expectStretches(set);
  }
}

TEST(ChunkSet, NeighboursThatAreAddedOneByOneAreOneStretch) {
  ChunkSet set;
  for (std::uint64_t chunk = 65'000; chunk < 200'000; ++chunk) set.add(chunk);
  set.add(200'001);
  EXPECT_EQ(set.stretches(), 2U);
  ASSERT_TRUE(set.nextStretch(0).has_value());
  EXPECT_EQ(set.nextStretch(0)->first, 65'000U);
  EXPECT_EQ(set.nextStretch(0)->count, 135'000U);
  EXPECT_EQ(set.nextStretch(70'000)->count, 130'000U);
  EXPECT_EQ(set.rankOf(200'001), 135'000U);
}

TEST(ChunkSet, ManyStretchesOfOneBlockAreFoundBeforeAndAfterTheyBecomeBits) {
  ChunkSet set;
  for (std::uint64_t i = 0; i < 2000; ++i) {
    set.add(10 + i * 7, 2);
    ASSERT_EQ(set.rankOf(10 + i * 7 + 1), i * 2 + 1);
    ASSERT_EQ(set.rankOf(10), 0U);
    ASSERT_EQ(set.next(12 + i / 2 * 7), i / 2 == i ? std::nullopt : std::optional(10 + (i / 2 + 1) * 7)) << i;
  }
  expectStretches(set);
}

TEST(ChunkSet, ReachesUpToItsLimit) {
  ChunkSet set;
  EXPECT_EQ(set.next(0), std::nullopt);
  EXPECT_EQ(set.nextStretch(0).has_value(), false);
  set.add(ChunkSet::limit - 70'000, 70'000);
  EXPECT_EQ(set.next(0), ChunkSet::limit - 70'000);
  EXPECT_EQ(set.rankOf(ChunkSet::limit - 1), 69'999U);
  EXPECT_EQ(set.next(ChunkSet::limit), std::nullopt);
  EXPECT_EQ(set.rankOf(UINT64_MAX), std::nullopt);
  expectStretches(set);
}

}  // namespace
}  // namespace zpk
