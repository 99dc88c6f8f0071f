// A restore as the model sees it: what may be restored where, and what is told of its course and end.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/service/HelperWorld.h"

namespace zpk {
namespace {

using test::HelperWorld;
using test::kMacDisk;
using test::kOtherDisk;
using test::kWindowsDisk;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class HelperRestore : public testing::Test {
 protected:
  HelperRestore() {
    world.archives[HelperWorld::kArchive] = test::archiveWith(2);
    world.startConfigured();
  }
  ResultCode restore(std::uint64_t point = 1, const std::string& disk = kMacDisk, std::uint64_t number = 3) {
    const ResultCode code = world.model->restore(point, {disk, number, 70'000});
    world.settle();
    return code;
  }

  HelperWorld world;
};

TEST_F(HelperRestore, ChecksPointDiskAndNumber) {
  EXPECT_EQ(restore(2), ResultCode::badIndex);
  EXPECT_EQ(restore(~std::uint64_t{0}), ResultCode::badIndex);
  EXPECT_EQ(restore(0, "unknown"), ResultCode::diskNotFound);
  EXPECT_EQ(restore(0, kMacDisk, 4), ResultCode::badTargetDisk);
  EXPECT_EQ(restore(0, kMacDisk, 1), ResultCode::badTargetDisk) << "the number is another disk's";
  EXPECT_TRUE(world.restores.empty());
  HelperWorld without;
  without.start();
  without.settle();
  EXPECT_EQ(without.model->restore(0, {kMacDisk, 3, 1}), ResultCode::archivePathNotSet);
}

TEST_F(HelperRestore, AsksForThePointTheDiskAndTheSize) {
  EXPECT_EQ(restore(), ResultCode::success);
  ASSERT_EQ(world.restores.size(), 1U);
  const RestoreOrder& order = world.restores[0];
  EXPECT_EQ(order.point.archivePath, HelperWorld::kArchive);
  EXPECT_EQ(order.point.index, 1U);
  EXPECT_EQ(order.point.indexPath, test::pointIndexPath(1));
  EXPECT_EQ(order.disk->diskNumber(), 3U);
  EXPECT_EQ(order.size, 70'000U);
  EXPECT_EQ(order.device, "device 3");
  EXPECT_THAT(order.otherDisks, ElementsAre(kWindowsDisk, kOtherDisk));
}

TEST_F(HelperRestore, ShowsTheDiskWhileItRuns) {
  world.restoreBody = [&](OperationBoard& board, const CancelFlag&) -> OperationOutcome {
    board.setProgress(1, 4);
    board.line("Writing");
    world.clock.advance(Seconds(1));
    const Dictionary status = world.status();
    EXPECT_EQ(statuskey::state.read(status), HelperState::inProgress);
    EXPECT_EQ(statuskey::progressType.read(status), ProgressType::restore);
    EXPECT_EQ(statuskey::restoreTarget.read(status)->name(), "Disk 3");
    EXPECT_EQ(statuskey::progressPercents.read(status), Value(25));
    EXPECT_EQ(statuskey::fullLog.read(status)->size(), 1U);
    EXPECT_FALSE(world.saved.back().restoringOnto.has_value()) << "nothing is written yet";
    EXPECT_TRUE(world.mayWrite());
    EXPECT_EQ(world.saved.back().restoringOnto, "Disk 3");
    return OperationDone{};
  };
  restore();
  EXPECT_EQ(world.state(), HelperState::idle);
  EXPECT_FALSE(statuskey::opError.isPresentIn(world.status()));
  EXPECT_FALSE(statuskey::restoreTarget.isPresentIn(world.status()));
  EXPECT_FALSE(world.saved.back().restoringOnto.has_value());
}

TEST_F(HelperRestore, LooksAtTheDisksBeforeAndAfterIt) {
  const int before = world.scans;
  restore();
  EXPECT_EQ(world.scans, before + 2);
}

TEST_F(HelperRestore, ADiskThatHasGoneIsNotRestoredOnto) {
  world.disks.pop_back();
  EXPECT_EQ(restore(), ResultCode::success) << "it was there when it was last looked at";
  EXPECT_TRUE(world.restores.empty());
  EXPECT_THAT(*statuskey::opError.read(world.status()), HasSubstr("\"Disk 3\" cannot be restored onto any more"));
}

TEST_F(HelperRestore, ADiskInUseIsNotRestoredOnto) {
  world.disks[0] = test::windowsDisk(kWindowsDisk, 1, "/mnt/win");
  world.model->reload();
  world.settle();
  EXPECT_EQ(restore(0, kWindowsDisk, 1), ResultCode::success);
  EXPECT_TRUE(world.restores.empty());
  EXPECT_THAT(*statuskey::opError.read(world.status()), AllOf(HasSubstr("in use at /mnt/win"), HasSubstr("Eject")));
  EXPECT_EQ(world.announced.back().weight, HelperModel::Weight::milestone);
}

TEST_F(HelperRestore, OneThatIsMountedMeanwhileIsNotRestoredOnto) {
  world.disks[0] = test::windowsDisk(kWindowsDisk, 1, "/mnt/win");
  EXPECT_EQ(restore(0, kWindowsDisk, 1), ResultCode::success);
  EXPECT_TRUE(world.restores.empty());
  EXPECT_THAT(*statuskey::opError.read(world.status()), HasSubstr("in use at /mnt/win"));
}

TEST_F(HelperRestore, TheDiskThatHoldsTheArchiveIsNotRestoredOnto) {
  world.disks[0] = test::windowsDisk(kWindowsDisk, 1, "/backups");
  world.model->reload();
  world.settle();
  restore(0, kWindowsDisk, 1);
  EXPECT_TRUE(world.restores.empty());
  EXPECT_THAT(*statuskey::opError.read(world.status()), HasSubstr("The archive lies on \"Disk 1\""));
}

TEST_F(HelperRestore, AFailedOneSaysWhyAndLeavesTheLastBackupAsItIs) {
  world.restoreBody = [](OperationBoard&, const CancelFlag&) { return OperationFailed{"It is incomplete now."}; };
  restore();
  EXPECT_EQ(statuskey::opError.read(world.status()), "It is incomplete now.");
  EXPECT_FALSE(statuskey::lastBackupError.isPresentIn(world.status()));
}

TEST_F(HelperRestore, IsToldToStop) {
  world.restoreBody = [&](OperationBoard&, const CancelFlag& cancel) -> OperationOutcome {
    EXPECT_EQ(world.model->breakProgress(), ResultCode::success);
    EXPECT_TRUE(cancel.isRequested());
    return OperationStopped{};
  };
  restore();
  EXPECT_EQ(world.restores.size(), 1U);
  EXPECT_FALSE(statuskey::opError.isPresentIn(world.status()));
}

TEST_F(HelperRestore, OneThatWasStoppedBeforeItMayWriteDoesNot) {
  world.restoreBody = [&](OperationBoard&, const CancelFlag&) -> OperationOutcome {
    world.model->breakProgress();
    // Nobody runs the loop: it would wait for ever.
    EXPECT_FALSE(world.restores.back().mayWrite());
    return OperationStopped{};
  };
  restore();
  EXPECT_EQ(world.restores.size(), 1U);
  EXPECT_FALSE(world.saved.back().restoringOnto.has_value());
}

TEST_F(HelperRestore, OneThatEndsWithTheHelperIsToldAtTheNextStartOnlyIfItHasWritten) {
  for (const bool writes : {false, true}) {
    world.startConfigured();
    world.restoreBody = [&](OperationBoard&, const CancelFlag& cancel) -> OperationOutcome {
      EXPECT_TRUE(!writes || world.mayWrite());
      world.model->stopForExit();
      EXPECT_TRUE(cancel.isRequested());
      if (writes) return OperationFailed{"It was stopped. The disk is incomplete."};
      return OperationStopped{};
    };
    restore();
    EXPECT_EQ(world.saved.back().restoringOnto.has_value(), writes);
  }
}

TEST_F(HelperRestore, OneThatTheHelperDidNotSurviveIsToldAtTheNextStart) {
  HelperWorld next;
  HelperSettings settings;
  settings.restoringOnto = "Disk 3";
  next.start(settings);
  next.settle();
  EXPECT_THAT(*statuskey::opError.read(next.status()),
              AllOf(HasSubstr("The restore onto \"Disk 3\" did not finish"), HasSubstr("incomplete")));
  EXPECT_FALSE(next.saved.back().restoringOnto.has_value());
}

}  // namespace
}  // namespace zpk
