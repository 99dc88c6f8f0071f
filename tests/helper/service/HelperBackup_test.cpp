// A backup as the model sees it: what is asked of the engine, and what is told of its course.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helper/service/HelperWorld.h"

namespace zpk {
namespace {

using test::HelperWorld;
using test::kOtherDisk;
using test::kWindowsDisk;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

using Weight = HelperModel::Weight;

TEST(HelperBackup, AsksForTheSourceTheArchiveAndTheCheck) {
  HelperWorld world;
  world.startConfigured();
  world.model->setCheckFS(false);
  EXPECT_EQ(world.backupCode(), ResultCode::success);
  ASSERT_EQ(world.requests.size(), 1U);
  EXPECT_EQ(world.requests[0].disk->gptID()->stringValue(), kWindowsDisk);
  EXPECT_EQ(world.requests[0].archivePath, HelperWorld::kArchive);
  EXPECT_FALSE(world.requests[0].checkFileSystem);
  EXPECT_EQ(world.requests[0].maxIncrements, 10U);
}

TEST(HelperBackup, OneThatLacksWhatCouldNotBeReadSaysSoBesideTheLastBackup) {
  HelperWorld world;
  HelperSettings settings;
  settings.source = kWindowsDisk;
  settings.archivePath = HelperWorld::kArchive;
  world.start(settings);
  world.settle();
  world.body = [](const auto&, auto&, const auto&) -> OperationOutcome {
    return OperationDone{"It was completed with 2 unreadable sectors."};
  };
  world.backupCode();
  EXPECT_FALSE(statuskey::opError.isPresentIn(world.status())) << "it did not fail";
  EXPECT_EQ(statuskey::lastBackupError.read(world.status()), "It was completed with 2 unreadable sectors.");
  EXPECT_EQ(world.saved.back().lastBackupError, "It was completed with 2 unreadable sectors.");
}

TEST(HelperBackup, AGoodOneShowsTheNewPointAndClearsTheLastError) {
  HelperWorld world;
  HelperSettings settings;
  settings.source = kWindowsDisk;
  settings.archivePath = HelperWorld::kArchive;
  settings.lastBackupError = "an old one";
  world.start(settings);
  world.settle();
  world.body = [&](const auto& request, auto&, const auto&) -> OperationOutcome {
    world.archives[request.archivePath] = test::archiveWith(1);
    return OperationDone{};
  };
  world.backupCode();
  EXPECT_EQ(world.state(), HelperState::idle);
  EXPECT_EQ(statuskey::arcState.read(world.status()), ArcState::ready);
  EXPECT_EQ(statuskey::archiveDescription.read(world.status())->items().size(), 1U);
  EXPECT_FALSE(statuskey::lastBackupError.isPresentIn(world.status()));
  EXPECT_FALSE(world.saved.back().lastBackupError.has_value());
  EXPECT_FALSE(world.saved.back().backupRunning);
}

TEST(HelperBackup, AFailedOneSaysWhyAndRemembersIt) {
  HelperWorld world;
  world.startConfigured();
  world.body = [](const auto&, auto&, const auto&) { return OperationFailed{"Windows sleeps. Shut it down."}; };
  world.backupCode();
  EXPECT_EQ(statuskey::opError.read(world.status()), "Windows sleeps. Shut it down.");
  EXPECT_EQ(statuskey::lastBackupError.read(world.status()), "Windows sleeps. Shut it down.");
  EXPECT_EQ(world.saved.back().lastBackupError, "Windows sleeps. Shut it down.");
  EXPECT_EQ(world.announced.back().weight, Weight::milestone);
  // The next one begins without the old error.
  world.body = [&](const auto&, auto&, const auto&) -> OperationOutcome {
    EXPECT_FALSE(statuskey::opError.isPresentIn(world.status()));
    return OperationDone{};
  };
  world.backupCode();
  EXPECT_EQ(world.requests.size(), 2U);
}

TEST(HelperBackup, IsMarkedInTheSettingsWhileItRuns) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto&, auto&, const auto&) -> OperationOutcome {
    EXPECT_TRUE(world.saved.back().backupRunning);
    return OperationDone{};
  };
  world.backupCode();
  EXPECT_FALSE(world.saved.back().backupRunning);
}

// The point is there whatever becomes of the helper: only what comes before it can be cut off.
TEST(HelperBackup, OneThatIsCutOffWhileItsPointIsReadBackDidFinish) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto& order, auto&, const auto&) -> OperationOutcome {
    world.tellOfPoint(order, "It was completed with 2 unreadable sectors.");
    HelperWorld next;
    next.start(world.saved.back());
    next.settle();
    EXPECT_EQ(statuskey::lastBackupError.read(next.status()), "It was completed with 2 unreadable sectors.");
    return OperationFailed{"It cannot be read back."};
  };
  world.backupCode();
  EXPECT_EQ(world.saved.back().lastBackupError, "It cannot be read back.");
}

TEST(HelperBackup, OneThatEndsWithTheHelperIsToldAtTheNextStart) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto&, auto&, const CancelFlag& cancel) -> OperationOutcome {
    world.model->stopForExit();
    EXPECT_TRUE(cancel.isRequested());
    return OperationStopped{};
  };
  world.backupCode();
  EXPECT_FALSE(world.saved.back().backupRunning);
  EXPECT_THAT(*world.saved.back().lastBackupError, HasSubstr("the backup service ended while it ran"));
}

TEST(HelperBackup, OneThatHasOnlyLookedAtItsFolderWhenTheHelperEndsNeverBegan) {
  HelperWorld world;
  world.startConfigured();
  const auto saves = world.saved.size();
  std::optional<ResultCode> code;
  world.model->backup(world.into(code));
  world.model->stopForExit();
  world.settle();
  EXPECT_EQ(code, ResultCode::serviceIsBusy);
  EXPECT_TRUE(world.requests.empty());
  EXPECT_EQ(world.saved.size(), saves) << "the next start has nothing to tell of it";
  EXPECT_THAT(world.lines, testing::Not(testing::Contains(HasSubstr("Backup begins"))));
}

TEST(HelperBackup, OneThatIsAskedForWhenTheHelperEndsIsAnsweredBusy) {
  HelperWorld world;
  world.startConfigured();
  world.model->stopForExit();
  EXPECT_EQ(world.backupCode(), ResultCode::serviceIsBusy);
  EXPECT_EQ(world.model->mergeArchiveWithParent(1), ResultCode::serviceIsBusy);
  EXPECT_EQ(world.model->verify(), ResultCode::serviceIsBusy);
  EXPECT_TRUE(world.requests.empty());
}

TEST(HelperBackup, OneThatTheHelperStopsWhileItMergesIsGood) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto& order, auto&, const auto&) -> OperationOutcome {
    world.tellOfPoint(order);
    world.model->stopForExit();
    return OperationDone{};
  };
  world.backupCode();
  EXPECT_FALSE(world.saved.back().lastBackupError.has_value());
  EXPECT_FALSE(world.saved.back().backupRunning);
}

// What is known of the disks is as old as the last look at them.
TEST(HelperBackup, LooksAtTheSourceAgainAndReadsItAsItIsThen) {
  HelperWorld world;
  world.startConfigured();
  world.disks[0] = test::makeDisk(kWindowsDisk, 1, {TMBGPTType::MicrosoftBasicData, TMBGPTType::WindowsRecovery});
  world.backupCode();
  ASSERT_EQ(world.requests.size(), 1U);
  EXPECT_EQ(*world.requests[0].disk, *world.disks[0]);
  EXPECT_EQ(world.requests[0].device, "device 1");
  EXPECT_EQ(*statuskey::disks.read(world.status())[0], *world.disks[0]) << "and shows it";
}

TEST(HelperBackup, AnotherDiskInTheSourcesPlaceIsNotBackedUp) {
  HelperWorld world;
  world.startConfigured();
  world.disks[0] = test::windowsDisk("cccccccc-2222-3333-4444-555555555555", 1);
  EXPECT_EQ(world.backupCode(), ResultCode::success) << "it was there when it was last looked at";
  EXPECT_TRUE(world.requests.empty());
  EXPECT_THAT(*statuskey::opError.read(world.status()), HasSubstr("\"Disk 1\" is not there any more"));
  EXPECT_EQ(statuskey::lastBackupError.read(world.status()), statuskey::opError.read(world.status()));
}

TEST(HelperBackup, ALookAtTheDisksThatIsCutShortIsNotTakenForTheirState) {
  HelperWorld world;
  world.startConfigured();
  world.model->backup([](ResultCode) {});
  // The scan that comes with the backup finds nothing, because everything is told to end.
  while (world.state() != HelperState::inProgress) ASSERT_TRUE(world.worker.runOne() || world.loop.runOne());
  world.disks.clear();
  world.model->stopForExit();
  world.settle();
  EXPECT_TRUE(world.requests.empty());
  EXPECT_THAT(*world.saved.back().lastBackupError, HasSubstr("the backup service ended while it ran"));
}

TEST(HelperBackup, TellsFiguresAndLogAtMostFourTimesASecond) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto&, OperationBoard& board, const auto&) -> OperationOutcome {
    world.announced.clear();
    for (std::uint64_t i = 1; i <= 1000; ++i) {
      board.setProgress(i, 1000);
      if (i == 500) board.line("Half of it is done");
      world.clock.advance(Seconds(0.01));
    }
    return OperationDone{};
  };
  world.backupCode();
  ASSERT_GE(world.announced.size(), 38U);
  EXPECT_LE(world.announced.size(), 42U);
  const Dictionary& late = world.announced[36].status;
  EXPECT_EQ(statuskey::state.read(late), HelperState::inProgress);
  EXPECT_EQ(statuskey::progressType.read(late), ProgressType::backup);
  EXPECT_NEAR(statuskey::progressPercents.read(late).doubleValue(), 92.5, 1.0);
  EXPECT_EQ(statuskey::elapsedTime.read(late), 9U);
  EXPECT_EQ(statuskey::remainingTime.read(late), 1U);
  ASSERT_EQ(statuskey::fullLog.read(late)->size(), 1U);
  EXPECT_THAT(*statuskey::fullLog.read(late)->front().text(), EndsWith("Half of it is done"));
}

TEST(HelperBackup, TheLastFiguresAreAMilestone) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto&, OperationBoard& board, const auto&) -> OperationOutcome {
    world.announced.clear();
    board.setProgress(7, 7);
    board.line("Done");
    return OperationDone{};
  };
  world.backupCode();
  ASSERT_EQ(world.announced.size(), 2U);
  EXPECT_EQ(world.announced[0].weight, Weight::milestone);
  EXPECT_EQ(statuskey::progressPercents.read(world.announced[0].status), Value(100));
  EXPECT_EQ(statuskey::state.read(world.announced[1].status), HelperState::idle);
}

TEST(HelperBackup, NothingMovingIsToldOnceASecond) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto&, auto&, const auto&) -> OperationOutcome {
    world.announced.clear();
    world.clock.advance(Seconds(5));
    EXPECT_EQ(world.announced.size(), 5U) << "the seconds that it runs";
    return OperationDone{};
  };
  world.backupCode();
  EXPECT_EQ(world.requests.size(), 1U);
}

TEST(HelperBackup, OneThatEndedGoodAlthoughItWasToldToStopIsGood) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto&, auto&, const auto&) -> OperationOutcome {
    world.model->breakProgress();
    return OperationDone{};
  };
  world.backupCode();
  EXPECT_FALSE(statuskey::lastBackupError.isPresentIn(world.status()));
}

TEST(HelperBackup, ChangesDuringItAreReadAfterIt) {
  HelperWorld world;
  world.startConfigured();
  world.body = [&](const auto&, auto&, const auto&) -> OperationOutcome {
    world.disks.pop_back();
    world.model->lookAgain();
    world.clock.advance(Seconds(1));
    EXPECT_EQ(statuskey::disks.read(world.status()).size(), 3U);
    return OperationDone{};
  };
  world.backupCode();
  EXPECT_EQ(statuskey::disks.read(world.status()).size(), 2U);
}

TEST(HelperBackup, NeverGoesToTheVolumeThatItSaves) {
  HelperWorld world;
  world.disks = {test::windowsDisk(kWindowsDisk, 1, "/mnt/win")};
  const std::string path = "/mnt/win/backups/a.rldbackup";
  world.archives[path] = NoArchiveYet{};
  HelperSettings settings;
  settings.source = kWindowsDisk;
  settings.archivePath = path;
  world.start(settings);
  world.settle();
  EXPECT_EQ(world.backupCode(), ResultCode::success);
  EXPECT_TRUE(world.requests.empty());
  EXPECT_THAT(*statuskey::opError.read(world.status()), HasSubstr("another disk"));
  EXPECT_TRUE(statuskey::lastBackupError.isPresentIn(world.status()));
  EXPECT_EQ(world.state(), HelperState::idle);
}

TEST(HelperFacts, TheArchivesStateIsThatSeenFromTheSource) {
  HelperFacts facts;
  facts.settings.archivePath = "/b/a.rldbackup";
  EXPECT_EQ(arcStateOf(facts), ArcState::unavailable);
  facts.archive = NoArchiveYet{};
  EXPECT_EQ(arcStateOf(facts), ArcState::empty);
  facts.archive = test::archiveWith(0);
  EXPECT_EQ(arcStateOf(facts), ArcState::empty);
  facts.archive = test::archiveWith(2);
  EXPECT_EQ(arcStateOf(facts), ArcState::ready) << "without a source there is nobody it is foreign to";
  facts.settings.source = kWindowsDisk;
  EXPECT_EQ(arcStateOf(facts), ArcState::ready);
  facts.settings.source = kOtherDisk;
  EXPECT_EQ(arcStateOf(facts), ArcState::foreign);
  facts.archive = UnreadableArchive{"damaged"};
  EXPECT_EQ(arcStateOf(facts), ArcState::unavailable);
}

TEST(HelperFacts, AStatusHasNoKeyWithoutAValue) {
  HelperFacts facts;
  facts.stateTime = 7;
  facts.activity = Idle{};
  std::vector<std::string> keys;
  for (const auto& [key, value] : statusOf(facts)) keys.push_back(key);
  EXPECT_THAT(keys, ElementsAre("checkfs", "disks", "maxinccount", "state", "statetime"));
}

TEST(HelperFacts, AHundredPercentMeansAll) {
  HelperFacts facts;
  RunningOperation running;
  running.bytesTotal = std::uint64_t{1} << 60;
  running.bytesDone = running.bytesTotal - 1;
  facts.activity = running;
  EXPECT_LT(statuskey::progressPercents.read(statusOf(facts)).doubleValue(), 100);
}

}  // namespace
}  // namespace zpk
