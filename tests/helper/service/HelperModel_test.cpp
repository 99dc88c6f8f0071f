#include "helper/service/model/HelperModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/service/HelperWorld.h"

namespace zpk {
namespace {

using test::HelperWorld;
using test::kMacDisk;
using test::kOtherDisk;
using test::kWindowsDisk;
using testing::HasSubstr;

using Weight = HelperModel::Weight;

// Every command but breakProgress, with arguments that an idle helper takes.
struct Command {
  const char* name;
  std::function<void(HelperModel&, HelperModel::Answer)> send;
};

std::vector<Command> commandsThatNeedIdle() {
  return {
      {"setBackupSource", [](auto& m, auto a) { a(m.setBackupSource(kWindowsDisk)); }},
      {"setTargetPath", [](auto& m, auto a) { m.setTargetPath(HelperWorld::kArchive, a); }},
      {"backup", [](auto& m, auto a) { m.backup(a); }},
      {"restore",
       [](auto& m, auto a) {
         a(m.restore(0, {kMacDisk, 3, 1}));
       }},
      {"merge", [](auto& m, auto a) { a(m.mergeArchiveWithParent(1)); }},
      {"setMaxIncrementsCount", [](auto& m, auto a) { a(m.setMaxIncrementsCount(5)); }},
      {"reload", [](auto& m, auto a) { a(m.reload()); }},
      {"setCheckFS", [](auto& m, auto a) { a(m.setCheckFS(false)); }},
      {"pin", [](auto& m, auto a) { m.pin(true, 0, "label", a); }},
  };
}

void expectAllAnswer(HelperWorld& world, ResultCode expected) {
  for (const Command& command : commandsThatNeedIdle()) {
    std::optional<ResultCode> code;
    command.send(*world.model, world.into(code));
    if (expected == ResultCode::success) world.settle();
    EXPECT_EQ(code, expected) << command.name;
  }
}

TEST(HelperModel, IsBusyUntilItHasReadTheWorldOnce) {
  HelperWorld world;
  world.start();
  EXPECT_EQ(world.state(), HelperState::busy);
  expectAllAnswer(world, ResultCode::serviceIsBusy);
  world.settle();
  EXPECT_EQ(world.state(), HelperState::idle);
  EXPECT_EQ(statuskey::disks.read(world.status()).size(), 3U);
}

TEST(HelperModel, IsReadyOnceItHasReadOrAfterHalfASecond) {
  HelperWorld quick;
  quick.start();
  EXPECT_EQ(quick.readyCalls, 0);
  quick.settle();
  quick.clock.advance(Seconds(10));
  EXPECT_EQ(quick.readyCalls, 1);

  HelperWorld slow;
  slow.start();
  slow.clock.advance(Seconds(0.6));
  EXPECT_EQ(slow.readyCalls, 1);
  slow.settle();
  EXPECT_EQ(slow.readyCalls, 1);
}

TEST(HelperModel, IdleTakesEveryCommand) {
  HelperWorld world;
  world.archives[HelperWorld::kArchive] = test::archiveWith(2);
  world.startConfigured();
  expectAllAnswer(world, ResultCode::success);
}

TEST(HelperModel, InProgressAnswersBusy) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto&, auto&, const auto&) -> OperationOutcome {
    EXPECT_EQ(world.state(), HelperState::inProgress);
    expectAllAnswer(world, ResultCode::serviceIsBusy);
    return OperationDone{};
  };
  EXPECT_EQ(world.backupCode(), ResultCode::success);
  EXPECT_EQ(world.requests.size(), 1U);
}

TEST(HelperModel, OneThatIsToldToStopRunsUntilItHasStopped) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto&, auto&, const CancelFlag& cancel) -> OperationOutcome {
    EXPECT_EQ(world.model->breakProgress(), ResultCode::success);
    EXPECT_TRUE(cancel.isRequested());
    EXPECT_EQ(world.state(), HelperState::inProgress);
    expectAllAnswer(world, ResultCode::serviceIsBusy);
    return OperationStopped{};
  };
  world.backupCode();
  EXPECT_EQ(world.requests.size(), 1U);
  EXPECT_EQ(world.state(), HelperState::idle);
  EXPECT_THAT(*statuskey::lastBackupError.read(world.status()), HasSubstr("stopped"));
  EXPECT_EQ(statuskey::opError.read(world.status()), std::nullopt);
}

TEST(HelperModel, ACommandThatWaitsForTheFolderHoldsOffTheOthers) {
  HelperWorld world;
  world.startConfigured();
  std::optional<ResultCode> first;
  world.model->setTargetPath(HelperWorld::kArchive, world.into(first));
  EXPECT_EQ(first, std::nullopt);
  expectAllAnswer(world, ResultCode::serviceIsBusy);
  EXPECT_EQ(world.state(), HelperState::idle) << "not yet for long";
  world.clock.advance(Seconds(0.6));
  EXPECT_EQ(world.state(), HelperState::busy);
  world.settle();
  EXPECT_EQ(first, ResultCode::success);
  EXPECT_EQ(world.state(), HelperState::idle);
}

TEST(HelperModel, BreakProgressWithNothingToBreakIsNoError) {
  HelperWorld world;
  world.start();
  EXPECT_EQ(world.model->breakProgress(), ResultCode::success);
  world.settle();
  EXPECT_EQ(world.model->breakProgress(), ResultCode::success);
  EXPECT_EQ(world.state(), HelperState::idle);
}

TEST(HelperModel, TheSourceMustBeADiskWithAWindowsSide) {
  HelperWorld world;
  world.start();
  world.settle();
  EXPECT_EQ(world.model->setBackupSource("no identifier"), ResultCode::diskNotFound);
  EXPECT_EQ(world.model->setBackupSource(""), ResultCode::diskNotFound);
  EXPECT_EQ(world.model->setBackupSource(kMacDisk), ResultCode::diskNotFound);
  EXPECT_FALSE(statuskey::sourceDisk.isPresentIn(world.status()));
  EXPECT_EQ(world.model->setBackupSource(kOtherDisk), ResultCode::success);
  EXPECT_EQ(statuskey::sourceDisk.read(world.status()), kOtherDisk);
  EXPECT_EQ(world.saved.back().source, kOtherDisk);
}

TEST(HelperModel, SettingWhatIsSetStillAnnouncesAState) {
  HelperWorld world;
  world.startConfigured();
  world.model->setBackupSource(kWindowsDisk);
  world.model->setCheckFS(true);
  world.model->setMaxIncrementsCount(10);
  EXPECT_EQ(world.announced.size(), 3U);
}

TEST(HelperModel, ATargetPathMustNameAnArchiveInAFolderThatIsThere) {
  HelperWorld world;
  world.start();
  world.settle();
  for (const std::string path :
       {"", "backups/a.rldbackup", "/nowhere/a.rldbackup", "/backups/a", "/backups/.rldbackup",
        "/backups/../etc/a.rldbackup", "/backups/a\n.rldbackup", "/backups/a.rldbackup/"}) {
    std::optional<ResultCode> code;
    world.model->setTargetPath(path, world.into(code));
    world.settle();
    EXPECT_EQ(code, ResultCode::noArchiveTargetDirectory) << path;
    EXPECT_FALSE(statuskey::targetArchive.isPresentIn(world.status())) << path;
  }
  std::optional<ResultCode> code;
  world.model->setTargetPath(HelperWorld::kArchive, world.into(code));
  world.settle();
  EXPECT_EQ(code, ResultCode::success);
  EXPECT_EQ(statuskey::targetArchive.read(world.status()), HelperWorld::kArchive);
  EXPECT_EQ(world.saved.back().archivePath, HelperWorld::kArchive);
}

TEST(HelperModel, IncrementsAreLimitedToOneToAHundred) {
  HelperWorld world;
  world.start();
  world.settle();
  EXPECT_EQ(world.model->setMaxIncrementsCount(0), ResultCode::badIndex);
  EXPECT_EQ(world.model->setMaxIncrementsCount(101), ResultCode::badIndex);
  EXPECT_EQ(world.model->setMaxIncrementsCount(100), ResultCode::success);
  EXPECT_EQ(statuskey::maxIncCount.read(world.status()), 100U);
}

TEST(HelperModel, BackupSaysWhatIsMissing) {
  HelperWorld world;
  world.start();
  world.settle();
  EXPECT_EQ(world.backupCode(), ResultCode::sourceDiskNotSet);
  world.model->setBackupSource(kWindowsDisk);
  EXPECT_EQ(world.backupCode(), ResultCode::archivePathNotSet);
  std::optional<ResultCode> code;
  world.model->setTargetPath(HelperWorld::kArchive, world.into(code));
  world.settle();
  world.archives.clear();
  EXPECT_EQ(world.backupCode(), ResultCode::noArchiveTargetDirectory);
  EXPECT_EQ(statuskey::arcState.read(world.status()), ArcState::unavailable);
  world.disks = {test::macDisk()};
  world.model->reload();
  world.settle();
  EXPECT_EQ(world.backupCode(), ResultCode::diskNotFound);
  EXPECT_TRUE(world.requests.empty());
}

TEST(HelperModel, AnErrorStaysUntilItWasShown) {
  HelperWorld world;
  world.archives[HelperWorld::kArchive] = test::archiveWith(2, kWindowsDisk, true);
  world.startConfigured();
  world.model->mergeArchiveWithParent(1);
  EXPECT_EQ(world.announced.back().weight, Weight::milestone);
  EXPECT_TRUE(statuskey::opError.isPresentIn(world.announced.back().status));
  world.model->errorWasShown();
  EXPECT_FALSE(statuskey::opError.isPresentIn(world.announced.back().status));
  const std::size_t count = world.announced.size();
  world.model->errorWasShown();
  EXPECT_EQ(world.announced.size(), count);
}

TEST(HelperModel, ASettingThatCannotBeSavedIsTold) {
  HelperWorld world;
  world.startConfigured();
  world.saveFails = true;
  EXPECT_EQ(world.model->setCheckFS(false), ResultCode::success);
  EXPECT_THAT(*statuskey::opError.read(world.status()), HasSubstr("No space left on device"));
}

TEST(HelperModel, ReloadShowsWhatIsThereNow) {
  HelperWorld world;
  world.startConfigured();
  world.disks.pop_back();
  world.archives[HelperWorld::kArchive] = test::archiveWith(3);
  EXPECT_EQ(world.model->reload(), ResultCode::success);
  world.settle();
  EXPECT_EQ(statuskey::disks.read(world.status()).size(), 2U);
  EXPECT_EQ(statuskey::archiveDescription.read(world.status())->items().size(), 3U);
  EXPECT_EQ(world.announced.size(), 1U);
}

TEST(HelperModel, LookingAgainIsSilentWhenNothingChanged) {
  HelperWorld world;
  world.startConfigured();
  const int scans = world.scans;
  for (int i = 0; i < 50; ++i) world.model->lookAgain();
  world.clock.advance(Seconds(0.3));
  world.settle();
  EXPECT_EQ(world.scans, scans + 1) << "a burst is looked at once";
  EXPECT_TRUE(world.announced.empty());
  world.disks.pop_back();
  world.model->lookAgain();
  world.clock.advance(Seconds(0.3));
  world.settle();
  EXPECT_EQ(world.announced.size(), 1U);
}

TEST(HelperModel, WhatChangesDuringAReadingIsReadAfterIt) {
  HelperWorld world;
  world.startConfigured();
  world.model->reload();
  world.worker.runOne();  // It has read, and the result is on its way.
  world.disks.clear();
  world.model->reload();
  world.settle();
  EXPECT_TRUE(statuskey::disks.read(world.status()).empty());
}

TEST(HelperModel, ASlowReadingIsBusyAndEndsIdle) {
  HelperWorld world;
  world.startConfigured();
  world.model->reload();
  world.clock.advance(Seconds(0.4));
  EXPECT_EQ(world.state(), HelperState::idle);
  world.clock.advance(Seconds(0.2));
  EXPECT_EQ(world.announced.size(), 1U);
  EXPECT_EQ(world.state(), HelperState::busy);
  world.settle();
  EXPECT_EQ(world.announced.size(), 2U);
  EXPECT_EQ(world.state(), HelperState::idle);
}

TEST(HelperModel, StateTimesRiseWithEveryState) {
  HelperWorld world;
  world.startConfigured();
  std::int64_t last = world.model->facts().stateTime;
  for (const bool flag : {true, false, true}) {
    world.model->setCheckFS(flag);
    EXPECT_GT(world.model->facts().stateTime, last);
    last = world.model->facts().stateTime;
  }
}

TEST(HelperModel, StateTimesRiseAcrossStartsEvenWhenTheClockWentBack) {
  HelperWorld first;
  first.startConfigured();
  for (int i = 0; i < 5; ++i) first.model->setCheckFS(true);
  const std::int64_t last = first.model->facts().stateTime;

  HelperWorld second;
  second.clock.secondsSince1970 = 1000;
  second.start(first.saved.back());
  EXPECT_GT(second.model->facts().stateTime, last);

  HelperWorld withoutSettings;
  withoutSettings.clock.secondsSince1970 = first.clock.secondsSince1970 + 1;
  withoutSettings.start();
  EXPECT_GT(withoutSettings.model->facts().stateTime, last);
}

TEST(HelperModel, StateTimesAreSetAsideBeforeTheyAreUsed) {
  HelperWorld world;
  HelperSettings settings;
  settings.stateTimeLimit = std::int64_t{1} << 60;
  world.start(settings);
  EXPECT_LT(world.model->facts().stateTime, world.saved.back().stateTimeLimit);
  EXPECT_GE(world.model->facts().stateTime, settings.stateTimeLimit);
}

TEST(HelperModel, ABackupThatWasCutOffByTheHelpersEndIsToldAtTheNextStart) {
  HelperWorld world;
  HelperSettings settings;
  settings.backupRunning = true;
  world.start(settings);
  EXPECT_THAT(*statuskey::lastBackupError.read(world.status()), HasSubstr("did not finish"));
  EXPECT_FALSE(world.saved.back().backupRunning);
  EXPECT_TRUE(world.saved.back().lastBackupError.has_value());
}

TEST(HelperModel, AnArchiveThatTurnsUnreadableIsToldOnceAndWhy) {
  HelperWorld world;
  world.startConfigured();
  world.archives[HelperWorld::kArchive] = UnreadableArchive{"The archive is damaged."};
  world.model->lookAgain();
  world.clock.advance(Seconds(1));
  world.settle();
  EXPECT_EQ(statuskey::opError.read(world.status()), "The archive is damaged.");
  EXPECT_EQ(statuskey::arcState.read(world.status()), ArcState::unavailable);
  EXPECT_EQ(world.announced.back().weight, HelperModel::Weight::milestone);
  world.model->errorWasShown();
  world.model->reload();
  world.settle();
  EXPECT_FALSE(statuskey::opError.isPresentIn(world.status())) << "it was told already";
}

}  // namespace
}  // namespace zpk
