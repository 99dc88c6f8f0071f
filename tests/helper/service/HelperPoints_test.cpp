// What the model does to single backup points.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/service/HelperWorld.h"
#include "helper/service/model/PointLabel.h"

namespace zpk {
namespace {

using test::HelperWorld;
using testing::HasSubstr;

using Weight = HelperModel::Weight;

class HelperPoints : public testing::Test {
 protected:
  HelperPoints() {
    world.archives[HelperWorld::kArchive] = test::archiveWith(3);
    world.startConfigured();
  }

  std::optional<ResultCode> pin(bool flag, std::uint64_t item, const std::string& label = {}) {
    std::optional<ResultCode> code;
    world.model->pin(flag, item, label, world.into(code));
    world.settle();
    return code;
  }

  HelperWorld world;
};

TEST_F(HelperPoints, PinningAsksForThePointThatWasShownAndShowsWhatBecameOfIt) {
  world.onPin = [&](const PinOrder&, const CancelFlag&) {
    world.archives[HelperWorld::kArchive] = test::archiveWith(2);
  };
  EXPECT_EQ(pin(true, 1, "before the update"), ResultCode::success);
  ASSERT_EQ(world.pins.size(), 1U);
  EXPECT_EQ(world.pins[0].point.archivePath, HelperWorld::kArchive);
  EXPECT_EQ(world.pins[0].point.index, 1U);
  EXPECT_EQ(world.pins[0].point.indexPath, test::pointIndexPath(1));
  EXPECT_TRUE(world.pins[0].isPinned);
  EXPECT_EQ(world.pins[0].label, "before the update");
  EXPECT_EQ(statuskey::archiveDescription.read(world.status())->items().size(), 2U);
  EXPECT_EQ(world.announced.size(), 1U);
}

TEST_F(HelperPoints, APinnedPointBearsTheLabelAsGivenAndAnUnpinnedOneKeepsItsOwn) {
  pin(true, 0, "");
  pin(false, 0, "");
  pin(false, 0, "another");
  ASSERT_EQ(world.pins.size(), 3U);
  EXPECT_EQ(world.pins[0].label, "");
  EXPECT_EQ(world.pins[1].label, std::nullopt);
  EXPECT_FALSE(world.pins[1].isPinned);
  EXPECT_EQ(world.pins[2].label, "another");
}

TEST_F(HelperPoints, APlaceWithoutAPointIsABadIndex) {
  for (const std::uint64_t item : {std::uint64_t{3}, ~std::uint64_t{0}}) {
    EXPECT_EQ(pin(true, item, "x"), ResultCode::badIndex);
  }
  EXPECT_TRUE(world.pins.empty());
  EXPECT_TRUE(world.announced.empty());
}

TEST_F(HelperPoints, ALabelThatIsNotOneLineOfTextIsRefusedInPlainWords) {
  EXPECT_EQ(pin(true, 0, "two\nlines"), ResultCode::success);
  EXPECT_TRUE(world.pins.empty());
  EXPECT_THAT(*statuskey::opError.read(world.status()), HasSubstr("one line"));
  EXPECT_EQ(world.announced.back().weight, Weight::milestone);
}

TEST_F(HelperPoints, AFailureIsToldAndTheHelperGoesOn) {
  world.pinResult = std::string("The disk is full.");
  EXPECT_EQ(pin(true, 0, "x"), ResultCode::success);
  EXPECT_EQ(statuskey::opError.read(world.status()), "The disk is full.");
  EXPECT_EQ(world.announced.back().weight, Weight::milestone);
  EXPECT_EQ(world.state(), HelperState::idle);
}

TEST_F(HelperPoints, WhileAPinIsStoredOtherCommandsAreAnsweredBusy) {
  std::optional<ResultCode> first;
  world.model->pin(true, 0, "x", world.into(first));
  EXPECT_EQ(pin(true, 1, "y"), ResultCode::serviceIsBusy);
  EXPECT_EQ(first, ResultCode::success);
  EXPECT_EQ(world.pins.size(), 1U);
}

// It may have to finish an interrupted merge first, which can take minutes.
TEST_F(HelperPoints, APinIsToldToStopWhenTheHelperEnds) {
  world.onPin = [&](const PinOrder&, const CancelFlag& cancel) {
    EXPECT_FALSE(cancel.isRequested());
    world.model->stopForExit();
    EXPECT_TRUE(cancel.isRequested());
  };
  pin(true, 0, "x");
  EXPECT_EQ(world.pins.size(), 1U);
}

TEST_F(HelperPoints, AMergeTellsItsCourseAndItsPointAndShowsWhatIsLeft) {
  world.mergeBody = [&](OperationBoard& board, const CancelFlag&) -> OperationOutcome {
    EXPECT_EQ(statuskey::progressType.read(world.status()), ProgressType::merge);
    EXPECT_EQ(statuskey::mergeIndex.read(world.status()), 2U);
    EXPECT_EQ(statuskey::archiveDescription.read(world.status())->items().size(), 3U) << "both points are shown";
    EXPECT_EQ(pin(true, 0), ResultCode::serviceIsBusy);
    board.setProgress(1, 2);
    board.line("Half of it is done");
    world.clock.advance(Seconds(0.5));
    EXPECT_EQ(statuskey::progressPercents.read(world.announced.back().status), Value(50));
    world.archives[HelperWorld::kArchive] = test::archiveWith(2);
    return OperationDone{};
  };
  EXPECT_EQ(world.model->mergeArchiveWithParent(2), ResultCode::success);
  EXPECT_EQ(world.state(), HelperState::inProgress);
  world.settle();
  ASSERT_EQ(world.merges.size(), 1U);
  EXPECT_EQ(world.merges[0].index, 2U);
  EXPECT_EQ(world.merges[0].indexPath, test::pointIndexPath(2));
  EXPECT_EQ(world.state(), HelperState::idle);
  EXPECT_FALSE(statuskey::mergeIndex.isPresentIn(world.status()));
  EXPECT_EQ(statuskey::archiveDescription.read(world.status())->items().size(), 2U);
}

TEST_F(HelperPoints, TheOldestPointAndAPlaceWithoutOneAreBadIndexesOfAMerge) {
  EXPECT_EQ(world.model->mergeArchiveWithParent(0), ResultCode::badIndex);
  EXPECT_EQ(world.model->mergeArchiveWithParent(3), ResultCode::badIndex);
  EXPECT_EQ(world.model->mergeArchiveWithParent(~std::uint64_t{0}), ResultCode::badIndex);
  world.settle();
  EXPECT_TRUE(world.merges.empty());
}

TEST_F(HelperPoints, APinnedParentIsNotMergedAndTheReasonIsTold) {
  world.archives[HelperWorld::kArchive] = test::archiveWith(2, test::kWindowsDisk, true);
  world.model->reload();
  world.settle();
  EXPECT_EQ(world.model->mergeArchiveWithParent(1), ResultCode::success);
  world.settle();
  EXPECT_TRUE(world.merges.empty());
  EXPECT_THAT(*statuskey::opError.read(world.status()), HasSubstr("pinned"));
}

TEST_F(HelperPoints, AStoppedMergeIsNoErrorAndSaysNothingOfTheLastBackup) {
  world.mergeBody = [&](OperationBoard&, const CancelFlag& cancel) -> OperationOutcome {
    world.model->breakProgress();
    EXPECT_TRUE(cancel.isRequested());
    EXPECT_EQ(world.state(), HelperState::inProgress) << "until it has stopped";
    return OperationStopped{};
  };
  world.model->mergeArchiveWithParent(1);
  world.settle();
  EXPECT_EQ(world.merges.size(), 1U);
  EXPECT_FALSE(statuskey::opError.isPresentIn(world.status()));
  EXPECT_FALSE(statuskey::lastBackupError.isPresentIn(world.status()));
}

TEST_F(HelperPoints, AFailedMergeSaysWhy) {
  world.mergeBody = [](auto&, auto&) { return OperationFailed{"Merging needs 3 MB of free space."}; };
  world.model->mergeArchiveWithParent(1);
  world.settle();
  EXPECT_EQ(statuskey::opError.read(world.status()), "Merging needs 3 MB of free space.");
  EXPECT_FALSE(statuskey::lastBackupError.isPresentIn(world.status()));
}

TEST(PointLabel, IsOneLineOfAtMost256Characters) {
  const auto repeated = [](const std::string& text, std::size_t times) {
    std::string result;
    for (std::size_t i = 0; i < times; ++i) result += text;
    return result;
  };
  for (const std::string& good :
       {std::string(), std::string("before the update"), std::string("\xc3\xa4\xe2\x82\xac\xf0\x9f\x92\xbe"),
        repeated("a", 256), repeated("\xf0\x9f\x92\xbe", 256)}) {
    EXPECT_EQ(whyNoLabel(good), std::nullopt) << good;
  }
  EXPECT_THAT(*whyNoLabel(repeated("a", 257)), HasSubstr("256"));
  EXPECT_THAT(*whyNoLabel(repeated("\xc3\xa4", 257)), HasSubstr("256"));
  for (const char* bad : {"a\nb", "a\tb", "\x7f", "\xc2\x85", "\xe2\x80\xa8"}) {
    EXPECT_THAT(whyNoLabel(bad).value_or(""), HasSubstr("one line")) << bad;
  }
  for (const char* bad : {"\xff", "\xc3", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\x80", "\xe2\x82"}) {
    EXPECT_THAT(whyNoLabel(bad).value_or(""), HasSubstr("not valid")) << bad;
  }
}

TEST_F(HelperPoints, ACheckIsAnOperationWhoseFindingsAreKept) {
  VerificationReport found;
  found.points.resize(3);
  found.points[1].damage.push_back({"/b/disk0.pvhd", 0, 65536});
  found.outcome = OperationFailed{"A backup point is damaged."};
  found.isComplete = true;
  world.verifyBody = [&](OperationBoard& board, const CancelFlag&) {
    board.setProgress(1, 2);
    return found;
  };
  EXPECT_EQ(world.model->verify(), ResultCode::success);
  EXPECT_EQ(world.state(), HelperState::inProgress);
  EXPECT_EQ(statuskey::progressType.valueIn(world.status()), Value(kVerificationProgress));
  EXPECT_EQ(statuskey::progressType.read(world.status()), ProgressType::unknown) << "for a window";
  EXPECT_EQ(world.model->verify(), ResultCode::serviceIsBusy);
  world.settle();
  EXPECT_EQ(world.state(), HelperState::idle);
  EXPECT_EQ(statuskey::opError.read(world.status()), "A backup point is damaged.");
  ASSERT_EQ(world.model->lastVerification().points.size(), 3U);
  EXPECT_FALSE(world.model->lastVerification().points[1].isSound());
  EXPECT_FALSE(statuskey::lastBackupError.isPresentIn(world.status())) << "no backup failed";
}

TEST_F(HelperPoints, WhatACheckNotedIsKnownAfterTheNextLook) {
  PresentArchive checked = test::archiveWith(3);
  checked.health = {{test::pointIndexPath(1), PointHealth::Check{1'700'000'000, true}, 2}};
  world.archives[HelperWorld::kArchive] = checked;
  world.model->lookAgain();
  world.clock.advance(Seconds(1));
  world.settle();
  EXPECT_EQ(std::get<PresentArchive>(world.model->facts().archive).health, checked.health)
      << "also where the records are what they were";
}

TEST_F(HelperPoints, ACheckCanBeStopped) {
  bool wasTold = false;
  world.verifyBody = [&](OperationBoard&, const CancelFlag& cancel) {
    wasTold = cancel.isRequested();
    return VerificationReport{OperationStopped{}, {}, false};
  };
  EXPECT_EQ(world.model->verify(), ResultCode::success);
  EXPECT_EQ(world.model->breakProgress(), ResultCode::success);
  world.settle();
  EXPECT_TRUE(wasTold);
  EXPECT_FALSE(world.model->lastVerification().isComplete);
  EXPECT_FALSE(statuskey::opError.isPresentIn(world.status()));
}

TEST_F(HelperPoints, WithoutAnArchiveThereIsNothingToCheck) {
  HelperWorld bare;
  bare.start();
  bare.settle();
  EXPECT_EQ(bare.model->verify(), ResultCode::archivePathNotSet);
  HelperWorld empty;
  empty.startConfigured();
  EXPECT_EQ(empty.model->verify(), ResultCode::noArchiveTargetDirectory);
}

}  // namespace
}  // namespace zpk
