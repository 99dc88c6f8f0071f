// `zpkctl backup` against a helper that behaves, and against those that do not.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helperlink/ResultCode.h"
#include "tools/zpkctl/Commands.h"
#include "zpkctl/SessionWorld.h"

namespace zpk::ctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct BackupCommand : SessionWorld, testing::Test {
  BackupCommand() { EXPECT_TRUE(connect()); }

  // A backup that runs from the command on.
  void backupBegins() {
    helper().whenCalled("backup", [this] {
      const Dictionary running = runningBackup(0, 0);
      nowIs(running);
      transport.push(running);
    });
  }
  int run() { return runBackup(session, console); }
};

TEST_F(BackupCommand, SubscribesBeforeItSends) {
  run();
  EXPECT_THAT(helper().commands(), testing::IsSupersetOf({"checkInWithPort_lastStateTime", "backup"}));
  EXPECT_EQ(helper().commands().front(), "checkInWithPort_lastStateTime");
}

TEST_F(BackupCommand, EndsWithTheBackup) {
  backupBegins();
  soonIs(Seconds(1), runningBackup(42, 1));
  soonIs(Seconds(90), readyStatus());
  EXPECT_EQ(run(), kDone);
  EXPECT_GE(loop.now(), Seconds(90));
  EXPECT_THAT(console.said, ElementsAre("The backup is complete."));
  EXPECT_THAT(console.complained, IsEmpty());
  EXPECT_THAT(console.progress, testing::Contains(HasSubstr("42 %")));
}

TEST_F(BackupCommand, IsOverWhenTheBackupWasOverBeforeAnythingWasTold) {
  EXPECT_EQ(run(), kDone);
  EXPECT_THAT(console.said, ElementsAre("The backup is complete."));
}

TEST_F(BackupCommand, SaysWhyTheBackupFailed) {
  backupBegins();
  soonIs(Seconds(5), failedStatus("Windows sleeps. Shut it down."));
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("The backup failed. Windows sleeps. Shut it down."));
  EXPECT_THAT(console.said, IsEmpty());
}

TEST_F(BackupCommand, APointThatLacksSomethingIsNoFailure) {
  backupBegins();
  Dictionary done = failedStatus("It was completed with 2 unreadable sectors.");
  statuskey::archiveDescription.set(
      done, archiveOf({backupPoint(0, "full", 700'000'000.0), backupPoint(1, "of now", 800'000'000.0)}));
  soonIs(Seconds(5), done);
  EXPECT_EQ(run(), kIncomplete);
  EXPECT_THAT(console.complained,
              ElementsAre("The backup point was made. It was completed with 2 unreadable sectors."));
}

TEST_F(BackupCommand, SaysThatTheUserMayNotBackUp) {
  Dictionary refused = readyStatus();
  statuskey::opError.set(refused, "You are not allowed to back up.");
  helper().whenCalled("backup", [this, refused] {
    transport.pushAfter(Seconds(0.1), refused);
    throw LinkException("access denied");
  });
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("You are not allowed to back up."));
}

TEST_F(BackupCommand, AnEarlierErrorIsNotTakenForARefusal) {
  Dictionary earlier = readyStatus();
  statuskey::opError.set(earlier, "The disk was full.");
  transport.push(earlier);
  helper().whenCalled("backup", [] { throw LinkException("no answer"); });
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("The backup helper does not answer. No backup was begun."));
}

TEST_F(BackupCommand, SaysWhyItWasRefused) {
  helper().answer("backup", static_cast<std::uint32_t>(ResultCode::sourceDiskNotSet));
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("Source disk not set. Choose the Windows disk to protect first."));
}

TEST_F(BackupCommand, WaitsForAHelperThatIsBusyForAWhile) {
  helper().answerOnce("backup", 6U);
  helper().answerOnce("backup", 6U);
  EXPECT_EQ(run(), kDone);
  EXPECT_EQ(helper().count("backup"), 3U);
}

TEST_F(BackupCommand, GivesUpWhenABackupIsAlreadyRunning) {
  nowIs(runningBackup(10, 60));
  helper().answer("backup", 6U);
  EXPECT_EQ(run(), kNotDone);
  EXPECT_EQ(helper().count("backup"), 6U);
  EXPECT_THAT(console.complained, ElementsAre("A backup is already running."));
}

TEST_F(BackupCommand, NamesAMergeThatIsInItsWay) {
  Dictionary merging = runningBackup(10, 60);
  statuskey::progressType.set(merging, ProgressType::merge);
  nowIs(merging);
  helper().answer("backup", 6U);
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre(HasSubstr("merged")));
}

TEST_F(BackupCommand, WaitsWhileTheHelperIsBusyAfterIt) {
  backupBegins();
  Dictionary busy;
  statuskey::state.set(busy, HelperState::busy);
  soonIs(Seconds(5), busy);
  soonIs(Seconds(50), failedStatus("It was stopped before it was complete."));
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre(HasSubstr("stopped")));
}

TEST_F(BackupCommand, AnotherBackupThatBeginsAtOnceIsNotTakenForIt) {
  backupBegins();
  soonIs(Seconds(1), runningBackup(90, 100));
  soonIs(Seconds(2), runningBackup(1, 0));
  EXPECT_EQ(run(), kDone);
  EXPECT_LT(loop.now(), Seconds(10));
}

TEST_F(BackupCommand, TheEndIsSeenAmongStatesThatComeTogether) {
  backupBegins();
  loop.performAfterDelay(Seconds(3), [this] {
    transport.push(failedStatus("No room is left."));
    nowIs(runningBackup(0, 0));
    transport.push(runningBackup(0, 0));
  });
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre(HasSubstr("No room is left.")));
}

TEST_F(BackupCommand, SaysThatTheHelperEnded) {
  backupBegins();
  loop.performAfterDelay(Seconds(3), [this] { transport.helperDies(); });
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("The backup helper ended before the backup was over."));
  EXPECT_LT(loop.now(), Seconds(5));
}

TEST_F(BackupCommand, AHelperThatCameBackIsAnotherOne) {
  backupBegins();
  loop.performAfterDelay(Seconds(3), [this] {
    transport.helperDies();
    transport.helperAppears();
    nowIs(readyStatus());
  });
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre(HasSubstr("ended before")));
}

TEST_F(BackupCommand, AHelperThatDiesOfTheCommandIsToldOf) {
  helper().whenCalled("backup", [this] { transport.helperDies(); });
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("The backup helper does not answer. No backup was begun."));
}

TEST_F(BackupCommand, DoesNotWaitForEverForAHelperThatStandsStill) {
  backupBegins();
  loop.performAfterDelay(Seconds(3), [this] { transport.setAnswerDelay(Seconds(1e6)); });
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre(HasSubstr("does not answer any more")));
  EXPECT_LT(loop.now(), Seconds(300));
}

TEST_F(BackupCommand, AnEndThatWasNeverToldIsFoundByAsking) {
  backupBegins();
  loop.performAfterDelay(Seconds(3), [this] { nowIs(readyStatus()); });
  EXPECT_EQ(run(), kDone);
  EXPECT_LT(loop.now(), Seconds(30));
}

TEST_F(BackupCommand, InterruptedItSaysThatTheBackupGoesOn) {
  backupBegins();
  loop.performAfterDelay(Seconds(3), [this] { session.interrupt(); });
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre(HasSubstr("The backup goes on; 'zpkctl stop' stops it.")));
  EXPECT_EQ(helper().count("breakProgress"), 0U);
}

TEST_F(BackupCommand, InterruptedWhileItIsSentItDoesNotKnowTheOutcome) {
  helper().whenCalled("backup", [this] {
    session.interrupt();
    throw LinkException("the link was closed");
  });
  EXPECT_EQ(run(), kNotDone);
  EXPECT_THAT(console.complained, ElementsAre("Interrupted. Whether a backup was begun, 'zpkctl status' tells."));
}

TEST_F(BackupCommand, InterruptedWhileTheHelperIsBusyItBeginsNoBackup) {
  helper().answer("backup", 6U);
  loop.performAfterDelay(Seconds(7), [this] { session.interrupt(); });
  EXPECT_EQ(run(), kNotDone);
  EXPECT_EQ(helper().count("backup"), 2U);
  EXPECT_THAT(console.complained, ElementsAre("Interrupted before a backup was begun."));
  EXPECT_LT(loop.now(), Seconds(8));
}

TEST(HelperSession, WaitsForAHelperThatIsBeingStarted) {
  LinkWorld link;
  std::optional<ZPKDaemon> daemon;
  HelperSession session({link.transport, link.notificationCenter, link.loop, [&]() -> ZPKDaemon& {
                           if (!daemon) daemon.emplace(link.environment());
                           return *daemon;
                         }});
  link.loop.performAfterDelay(Seconds(5), [&] { link.transport.helperAppears(); });
  EXPECT_EQ(session.connect(Seconds(30)), std::nullopt);
  EXPECT_LT(link.loop.now(), Seconds(8));
  EXPECT_FALSE(session.helper().status().isNull());
}

TEST(HelperSession, SaysThatThereIsNoHelper) {
  LinkWorld link;
  std::optional<ZPKDaemon> daemon;
  HelperSession session({link.transport, link.notificationCenter, link.loop, [&]() -> ZPKDaemon& {
                           if (!daemon) daemon.emplace(link.environment());
                           return *daemon;
                         }});
  EXPECT_EQ(session.connect(Seconds(3)), "The backup helper is not running.");
  EXPECT_GE(link.loop.now(), Seconds(3));
}

}  // namespace
}  // namespace zpk::ctl
