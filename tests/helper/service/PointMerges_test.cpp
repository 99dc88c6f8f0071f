// Which points are merged, and what is said about it.

#include "helper/service/PointMerges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "helper/archive/TestFiles.h"
#include "helper/service/ArchiveWords.h"

namespace zpk {
namespace {

using test::ScratchFolder;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Points without disks: what is merged is decided by their indexes.
class PointMerges : public testing::Test {
 protected:
  void addPoint(const std::string& label, PointKind kind = PointKind::Increment, bool isPinned = false) {
    PointIndex index;
    index.label = label;
    index.kind = kind;
    index.isPinned = isPinned;
    if (kind == PointKind::Increment) index.parent = archive.readPoint(archive.index().points.size() - 1)->id;
    ArchiveResult<PendingPoint> point = archive.beginPoint();
    ASSERT_TRUE(archive.commitPoint(std::move(*point), index).hasValue());
  }
  void pin(std::size_t place) {
    PointIndex point = *archive.readPoint(place);
    point.isPinned = true;
    ASSERT_TRUE(archive.savePoint(place, point).hasValue());
  }
  std::vector<std::string> keepTo(std::uint64_t most) {
    keepToLimit(archive, most, board, cancel);
    return board.take().lines;
  }
  std::vector<std::string> labels() const {
    std::vector<std::string> result;
    for (std::size_t i = 0; i < archive.index().points.size(); ++i) result.push_back(archive.readPoint(i)->label);
    return result;
  }

  ScratchFolder folder;
  Archive archive = std::move(*Archive::create(folder / "a.rldbackup", {"disk-id", "Disk", 5}));
  OperationBoard board;
  CancelFlag cancel;
};

TEST_F(PointMerges, TheOldestIncrementsGoUntilTheLimitIsKept) {
  addPoint("full", PointKind::Full);
  for (const char* label : {"1", "2", "3", "4"}) addPoint(label);
  EXPECT_THAT(keepTo(4), IsEmpty());
  EXPECT_THAT(keepTo(2), Contains(HasSubstr("4 increments, 2 are to be kept")));
  EXPECT_THAT(labels(), ElementsAre("2", "3", "4"));
  EXPECT_EQ(archive.readPoint(0)->kind, PointKind::Full);
  EXPECT_EQ(archive.readPoint(1)->parent, archive.readPoint(0)->id);
}

TEST_F(PointMerges, APinnedPointIsNeverGivenUp) {
  addPoint("full", PointKind::Full);
  for (const char* label : {"1", "2", "3"}) addPoint(label);
  pin(0);
  pin(2);
  keepTo(1);
  EXPECT_THAT(labels(), ElementsAre("full", "2", "3"));
  EXPECT_THAT(keepTo(1), Contains(HasSubstr("what they build on is pinned or damaged")));
  EXPECT_THAT(labels(), ElementsAre("full", "2", "3"));
}

TEST_F(PointMerges, NothingIsMergedIntoADamagedPointAndOthersAreAllTheSame) {
  addPoint("full", PointKind::Full);
  for (const char* label : {"1", "2", "3"}) addPoint(label);
  PointIndex point = *archive.readPoint(0);
  point.check = LastCheck{5, true};
  ASSERT_TRUE(archive.savePoint(0, point).hasValue());
  keepTo(1);
  EXPECT_THAT(labels(), ElementsAre("full", "3"));
  addPoint("4");
  std::filesystem::resize_file(archive.pointIndexPath(1), 10);
  addPoint("5");
  keepTo(1);
  EXPECT_EQ(archive.index().points.size(), 3U);
  EXPECT_EQ(archive.readPoint(2)->label, "5") << "merged into the sound one before it";
  addPoint("full again", PointKind::Full);
  PointIndex damaged = *archive.readPoint(3);
  damaged.check = LastCheck{5, true};
  ASSERT_TRUE(archive.savePoint(3, damaged).hasValue());
  addPoint("6");
  EXPECT_THAT(keepTo(1), Contains(HasSubstr("is pinned or damaged")));
}

TEST_F(PointMerges, FullPointsAreNotCountedAndStay) {
  addPoint("full", PointKind::Full);
  addPoint("1");
  addPoint("full again", PointKind::Full);
  addPoint("2");
  EXPECT_THAT(keepTo(2), IsEmpty());
  keepTo(1);
  EXPECT_THAT(labels(), ElementsAre("1", "full again", "2"));
}

TEST_F(PointMerges, AMergeThatIsRefusedIsToldInPlainWords) {
  addPoint("full", PointKind::Full);
  addPoint("1");
  pin(0);
  const OperationOutcome outcome = runMerge(archive, 1, board, cancel);
  ASSERT_TRUE(std::holds_alternative<OperationFailed>(outcome));
  EXPECT_THAT(std::get<OperationFailed>(outcome).reason, HasSubstr("is pinned. Unpin it"));
}

TEST_F(PointMerges, AnInterruptedOneIsFinishedAndTheLogSaysSo) {
  addPoint("full", PointKind::Full);
  addPoint("1");
  const std::string path = archive.path();
  {
    ASSERT_TRUE(archive.beginMerge({archive.index().points[0], archive.index().points[1], {}}).hasValue());
    const Archive closed = std::move(archive);
  }
  const ArchiveResult<Archive> again = openForOperation(path, board, cancel);
  ASSERT_TRUE(again.hasValue()) << again.error().text();
  EXPECT_EQ(again->index().points.size(), 1U);
  EXPECT_THAT(board.take().lines, ElementsAre(HasSubstr("interrupted")));
}

TEST(ArchiveWords, AnErrorIsASentence) {
  EXPECT_EQ(sentenceOf({ArchiveFault::Refused, "It is pinned", {}, 0, 0}), "It is pinned.");
  EXPECT_EQ(sentenceOf({ArchiveFault::SourceUnfit, "Windows sleeps", "disk1s4", 0, 0}),
            "Windows sleeps (disk1s4).");
}

TEST(ArchiveWords, WhatCouldNotBeReadIsNamedAsFarAsItIsNotTooMuch) {
  PointIndex point;
  point.disks.resize(1);
  point.disks[0].name = "Disk";
  point.disks[0].unreadable = {{512, 1536}};
  EXPECT_EQ(sectorsText(unreadableSectors(point)), "2 unreadable sectors");
  EXPECT_THAT(unreadableLines(point), ElementsAre(HasSubstr("bytes 512 to 1535 of \"Disk\"")));
  for (std::uint64_t i = 1; i < 30; ++i) point.disks[0].unreadable.push_back({i * 4096, i * 4096 + 512});
  EXPECT_EQ(unreadableLines(point).size(), 21U);
  EXPECT_EQ(unreadableLines(point).back(), "and 10 more ranges");
}

TEST(ArchiveWords, DurationsAreWhatPeopleSay) {
  EXPECT_EQ(durationText(6.6), "7 s");
  EXPECT_EQ(durationText(125), "2 min 05 s");
  EXPECT_EQ(durationText(3720), "1 h 02 min");
}

}  // namespace
}  // namespace zpk
