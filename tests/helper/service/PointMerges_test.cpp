// Which points are merged, and what is said about it.

#include "helper/service/PointMerges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "helper/archive/PointCheck.h"
#include "helper/archive/SmallArchive.h"
#include "helper/service/ArchiveWords.h"

namespace zpk {
namespace {

using test::ScratchFolder;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

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
  void noteDamageOf(std::size_t place) { ASSERT_TRUE(noteDamage(archive, place, 5).hasValue()); }
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
  EXPECT_THAT(keepTo(1), Contains(HasSubstr("none may be merged: what they build on is pinned")));
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
  EXPECT_THAT(keepTo(1), Contains(HasSubstr("none may be merged: what they build on is damaged")));
}

// It was tried first at every backup, failed, and nothing else was ever merged again.
TEST_F(PointMerges, ADamagedIncrementDoesNotKeepOthersFromBeingMerged) {
  addPoint("full", PointKind::Full);
  addPoint("1");
  noteDamageOf(1);
  addPoint("full again", PointKind::Full);
  for (const char* label : {"3", "4", "5"}) addPoint(label);
  keepTo(2);
  EXPECT_THAT(labels(), ElementsAre("full", "1", "4", "5"));
  EXPECT_THAT(keepTo(0), Contains(HasSubstr("none may be merged: they are damaged")));
  EXPECT_THAT(labels(), ElementsAre("full", "1", "5"));
}

TEST_F(PointMerges, ALabelPassesToAPointThatHasNone) {
  addPoint("before the update", PointKind::Full);
  addPoint("");
  EXPECT_THAT(keepTo(0), Contains(HasSubstr("takes over the label \"before the update\"")));
  EXPECT_THAT(labels(), ElementsAre("before the update"));
  addPoint("", PointKind::Full);
  ASSERT_TRUE(std::holds_alternative<OperationDone>(runMerge(archive, 1, board, cancel)));
  EXPECT_THAT(board.take().lines, Contains(HasSubstr("takes over the label")));
  EXPECT_THAT(labels(), ElementsAre("before the update"));
}

TEST_F(PointMerges, APointKeepsItsOwnLabelAndTheLogHasTheOther) {
  addPoint("before the update", PointKind::Full);
  addPoint("after it");
  EXPECT_THAT(keepTo(0),
              Contains(HasSubstr("keeps its own label; that of the one before it, \"before the update\"")));
  EXPECT_THAT(labels(), ElementsAre("after it"));
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

// The same with what points hold: a full one and five increments.
class StoredPointMerges : public testing::Test {
 protected:
  std::string imagePath(std::size_t point) const { return fileOf(small.points().at(point)); }
  std::string fileOf(const std::string& point) const { return archive.path() + "/" + point + "/disk0.pvhd"; }
  // Where the image's first content lies, behind its header.
  void damage(std::size_t point) const {
    std::fstream image(imagePath(point), std::ios::in | std::ios::out | std::ios::binary);
    image.seekp(test::SmallArchive::clusterSize + 100);
    image << std::string(40'000, 'x');
  }
  void setUnreadable(std::size_t place, std::vector<ByteRange> ranges) {
    PointIndex point = *archive.readPoint(place);
    point.disks.at(0).unreadable = std::move(ranges);
    ASSERT_TRUE(archive.savePoint(place, point).hasValue());
  }
  std::vector<std::string> keepTo(std::uint64_t most) {
    keepToLimit(archive, most, board, cancel);
    return board.take().lines;
  }
  // The points of the beginning that are left.
  std::vector<std::size_t> left() const {
    std::vector<std::size_t> places;
    for (const std::string& name : archive.index().points) {
      places.push_back(static_cast<std::size_t>(std::ranges::find(small.points(), name) - small.points().begin()));
    }
    return places;
  }
  bool isDamaged(std::size_t place) const {
    const std::optional<LastCheck> check = archive.readPoint(place)->check;
    return check && check->isDamaged;
  }

  ScratchFolder folder;
  test::SmallArchive small{folder / "a.rldbackup", 6, 1, 3};
  Archive archive = std::move(*Archive::openForWriting(folder / "a.rldbackup"));
  OperationBoard board;
  CancelFlag cancel;
};

TEST_F(StoredPointMerges, DamageThatIsMetIsNotedAndTheNextOneTried) {
  damage(1);
  EXPECT_THAT(keepTo(2), IsSupersetOf({HasSubstr("It was not merged"), HasSubstr("is noted to be damaged")}));
  EXPECT_THAT(left(), ElementsAre(0, 1, 5));
  EXPECT_FALSE(isDamaged(0));
  EXPECT_TRUE(isDamaged(1));
  EXPECT_THAT(keepTo(1), ElementsAre(HasSubstr("none may be merged"))) << "it is tried once";
}

TEST_F(StoredPointMerges, DamageOfTheParentIsTheParents) {
  std::filesystem::resize_file(imagePath(0), 100);
  EXPECT_THAT(keepTo(2), Contains(HasSubstr("is noted to be damaged")));
  EXPECT_TRUE(isDamaged(0));
  EXPECT_FALSE(isDamaged(1));
  EXPECT_THAT(left(), ElementsAre(0, 4, 5)) << "the others are merged with each other";
}

// It was noted of the child, which is whole as far as it goes.
TEST_F(StoredPointMerges, TheLossOfTheParentsFolderIsNotTheChilds) {
  std::filesystem::rename(archive.path() + "/" + small.points()[1], folder / "away");
  const OperationOutcome outcome = runMerge(archive, 2, board, cancel);
  ASSERT_TRUE(std::holds_alternative<OperationFailed>(outcome)) << "it has met no loss";
  EXPECT_THAT(std::get<OperationFailed>(outcome).reason, HasSubstr(small.points()[1]));
  EXPECT_FALSE(isDamaged(2));
}

TEST_F(StoredPointMerges, OnesThatAreRefusedAreLeftForThisTime) {
  std::filesystem::create_hard_link(imagePath(0), folder / "linked");
  EXPECT_THAT(keepTo(2), Contains(HasSubstr("has another name")));
  EXPECT_THAT(left(), ElementsAre(0, 4, 5));
  EXPECT_FALSE(isDamaged(0) || isDamaged(1));
  EXPECT_THAT(keepTo(1), Contains(HasSubstr("has another name"))) << "another time it may go well";
  small.expectExact(archive);
}

// With a sector that stays bad, every point lacks it from some day on, and the archive grew for ever.
TEST_F(StoredPointMerges, OnlyThePointThatFirstLacksASectorKeepsTheOneBeforeIt) {
  for (const std::size_t place : {2U, 3U, 4U}) setUnreadable(place, {{512, 1536}});
  setUnreadable(5, {{1024, 1536}});
  const auto lines = keepTo(0);
  EXPECT_THAT(left(), ElementsAre(1, 5));
  EXPECT_THAT(lines, Contains(HasSubstr("2 unreadable sectors that the one before it")).Times(1));
  EXPECT_THAT(lines.back(), HasSubstr("none may be merged: what they build on may hold what they lack"));
  small.expectExact(archive);
  EXPECT_THAT(keepTo(1), IsEmpty()) << "nothing is said of it while there are no more than there may be";
}

TEST_F(StoredPointMerges, GoOnWithAPointThatHasTheSectorAgain) {
  setUnreadable(0, {{0, 4096}});
  setUnreadable(1, {{512, 1024}, {2048, 4608}});
  EXPECT_THAT(keepTo(4), Contains(HasSubstr("1 unreadable sector that the one before it")));
  EXPECT_THAT(left(), ElementsAre(0, 2, 3, 4, 5))
      << "the first one may hold it, and the second one's successor does";
  EXPECT_THAT(keepTo(0), Not(Contains(HasSubstr("unreadable"))));
  EXPECT_THAT(left(), ElementsAre(5));
  small.expectExact(archive);
}

TEST_F(StoredPointMerges, NameBothPointsAndLeaveTheShareThatIsShown) {
  const auto lines = keepTo(4);
  EXPECT_THAT(lines, ElementsAre(AllOf(HasSubstr("5 increments, 4 are to be kept"),
                                       HasSubstr(momentText(archive.readPoint(0)->creationTime)),
                                       HasSubstr("into the one before it, of " + momentText(0)))));
  EXPECT_EQ(board.take().total, 0U) << "it is that of the backup before";
}

TEST_F(StoredPointMerges, OfADamagedParentAreToldToBeDamagedToo) {
  ASSERT_TRUE(noteDamage(archive, 2, 5).hasValue());
  ASSERT_TRUE(std::holds_alternative<OperationDone>(runMerge(archive, 3, board, cancel)));
  EXPECT_THAT(board.take().lines, Contains(HasSubstr("makes this one damaged as well")));
  EXPECT_EQ(left()[2], 3U);
  EXPECT_TRUE(isDamaged(2));
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
