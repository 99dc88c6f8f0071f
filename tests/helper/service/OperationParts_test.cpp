// The small parts of a running operation: its log, its estimate, its board.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/service/model/OperationBoard.h"
#include "helper/service/model/OperationLog.h"
#include "helper/service/model/RemainingTime.h"

namespace zpk {
namespace {

TEST(OperationLog, KeepsTheNewestLinesWithinItsLimitAndSaysSo) {
  OperationLog log(1000);
  for (int i = 0; i < 1000; ++i) log.append("line " + std::to_string(i));
  const Array& lines = *log.lines().array();
  EXPECT_EQ(*lines.front().text(), "(older lines are left out)");
  EXPECT_EQ(*lines.back().text(), "line 999");
  std::size_t size = 0;
  for (const Value& line : lines) size += line.text()->size();
  EXPECT_LE(size, 1000U);
  EXPECT_GT(lines.size(), 50U);
}

TEST(OperationLog, CutsALongLineBetweenCharacters) {
  OperationLog log;
  std::string line(OperationLog::kLongestLine - 1, 'a');
  line += "\xc3\xa4 and more";
  log.append(line);
  EXPECT_EQ(log.lines().array()->front().text()->size(), OperationLog::kLongestLine - 1);
}

TEST(OperationLog, IsSharedUntilItGrows) {
  OperationLog log;
  log.append("one");
  const auto first = log.lines().sharedArray();
  EXPECT_EQ(log.lines().sharedArray(), first);
  log.append("two");
  EXPECT_EQ(first->size(), 1U);
  EXPECT_EQ(log.lines().array()->size(), 2U);
}

TEST(RemainingTime, SaysNothingInTheFirstSecond) {
  RemainingTime remaining;
  for (int i = 0; i < 10; ++i) {
    remaining.update(Seconds(i * 0.1), static_cast<std::uint64_t>(i) * 100, 10'000);
    EXPECT_EQ(remaining.estimate(), std::nullopt);
  }
}

TEST(RemainingTime, IsExactAtASteadyRate) {
  RemainingTime remaining;
  for (int i = 0; i <= 40; ++i) remaining.update(Seconds(i * 0.25), static_cast<std::uint64_t>(i) * 250, 100'000);
  ASSERT_TRUE(remaining.estimate());
  EXPECT_NEAR(remaining.estimate()->count(), 90, 0.5);
}

TEST(RemainingTime, FollowsAChangeOfRateWithinSomeSeconds) {
  RemainingTime remaining;
  std::uint64_t done = 0;
  double time = 0;
  const auto run = [&](double seconds, std::uint64_t perTick) {
    for (const double end = time + seconds; time < end; time += 0.25) {
      remaining.update(Seconds(time), done += perTick, 1'000'000);
    }
  };
  run(20, 1000);
  run(30, 100);
  const double actual = static_cast<double>(1'000'000 - done) / 400;
  EXPECT_NEAR(remaining.estimate()->count() / actual, 1, 0.25);
}

TEST(RemainingTime, BeginsAnewWithAnotherStage) {
  RemainingTime remaining;
  for (int i = 0; i <= 20; ++i) remaining.update(Seconds(i * 0.25), static_cast<std::uint64_t>(i) * 500, 10'000);
  remaining.update(Seconds(5.25), 0, 10'000);
  EXPECT_EQ(remaining.estimate(), std::nullopt);
  for (int i = 1; i <= 8; ++i) {
    remaining.update(Seconds(5.25 + i * 0.25), static_cast<std::uint64_t>(i) * 25, 10'000);
  }
  EXPECT_NEAR(remaining.estimate()->count(), 98, 0.5);
}

TEST(RemainingTime, GrowsWhileNothingMovesAndThenIsSilent) {
  RemainingTime remaining;
  for (int i = 0; i <= 20; ++i) remaining.update(Seconds(i * 0.25), static_cast<std::uint64_t>(i) * 250, 100'000);
  const Seconds moving = *remaining.estimate();
  for (int i = 0; i <= 20; ++i) remaining.update(Seconds(5 + i * 0.25), 5000, 100'000);
  EXPECT_GT(*remaining.estimate(), moving);
  for (int i = 0; i <= 2000; ++i) remaining.update(Seconds(10 + i * 0.25), 5000, 100'000);
  EXPECT_EQ(remaining.estimate(), std::nullopt);
}

TEST(RemainingTime, DoesNotCountTheTimeBeforeTheSizeIsKnown) {
  RemainingTime remaining;
  for (int i = 0; i <= 100; ++i) remaining.update(Seconds(i), 0, 0);
  EXPECT_EQ(remaining.estimate(), std::nullopt);
  remaining.update(Seconds(101), 0, 1000);
  remaining.update(Seconds(103), 200, 1000);
  EXPECT_NEAR(remaining.estimate()->count(), 8, 0.1);
}

TEST(OperationBoard, NeverSaysMoreThanAll) {
  OperationBoard board;
  board.setProgress(11, 10);
  EXPECT_EQ(board.take().done, 10U);
}

TEST(OperationBoard, GivesEachLineOnceAndKeepsTheFigures) {
  OperationBoard board;
  board.setProgress(1, 10);
  board.line("a");
  EXPECT_EQ(board.take().lines.size(), 1U);
  EXPECT_TRUE(board.take().lines.empty());
  EXPECT_EQ(board.take().total, 10U);
}

}  // namespace
}  // namespace zpk
