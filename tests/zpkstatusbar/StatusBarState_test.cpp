#include "tools/zpkstatusbar/StatusBarState.h"

#include <gtest/gtest.h>

#include <limits>

#include "zpkstatusbar/StatusBarWorld.h"

namespace zpk {
namespace {

StatusBarState stateOf(const Dictionary& status, bool isStopping = false) {
  const EnglishLocalization english;
  const SecondDates dates;
  return statusBarState({&status, true, isStopping}, english, dates);
}

// Without the marks that keep a text from outside to itself.
std::string plain(const QString& text) {
  QString shown = text;
  shown.remove(QChar(0x2068)).remove(QChar(0x2069));
  return shown.toStdString();
}

TEST(StatusBarState, AHelperThatIsAwayIsSaidWhateverWasKnown) {
  const EnglishLocalization english;
  const SecondDates dates;
  const Dictionary status = backupStatus(40, {});
  for (const Dictionary* known : {static_cast<const Dictionary*>(nullptr), &status}) {
    const StatusBarState state = statusBarState({known, false, false}, english, dates);
    EXPECT_EQ(state.icon, StatusBarIcon::away);
    EXPECT_EQ(plain(state.text), "The backup helper is not running.");
    EXPECT_FALSE(state.canBackUp || state.canStop || state.percent);
  }
}

TEST(StatusBarState, BeforeTheFirstStatusItWaits) {
  const EnglishLocalization english;
  const SecondDates dates;
  EXPECT_EQ(plain(statusBarState({nullptr, true, false}, english, dates).text), "Waiting for the helper…");
}

TEST(StatusBarState, ReadyTellsTheLastBackup) {
  const StatusBarState state = stateOf(readyStatus());
  EXPECT_EQ(state.icon, StatusBarIcon::ready);
  EXPECT_EQ(plain(state.text), "Ready. Last backup: at 1701200000");
  EXPECT_TRUE(state.canBackUp);
  EXPECT_FALSE(state.canStop);
}

TEST(StatusBarState, ReadyForTheFirstBackup) {
  Dictionary status = readyStatus();
  statuskey::arcState.set(status, ArcState::empty);
  statuskey::archiveDescription.set(status, nullptr);
  const StatusBarState state = stateOf(status);
  EXPECT_EQ(state.icon, StatusBarIcon::ready);
  EXPECT_EQ(plain(state.text), "Ready. There is no backup yet.");
  EXPECT_TRUE(state.canBackUp);
}

TEST(StatusBarState, AFailedBackupIsShownAndCanBeTriedAgain) {
  Dictionary status = readyStatus();
  statuskey::lastBackupError.set(status, "Windows sleeps.\nShut it down.");
  const StatusBarState state = stateOf(status);
  EXPECT_EQ(state.icon, StatusBarIcon::attention);
  EXPECT_EQ(plain(state.text), "The last backup failed: Windows sleeps.␊Shut it down.");
  EXPECT_TRUE(state.canBackUp);
}

TEST(StatusBarState, WhatIsInTheWayOfABackupIsSaid) {
  const auto expect = [](Dictionary status, const char* text) {
    const StatusBarState state = stateOf(status);
    EXPECT_EQ(state.icon, StatusBarIcon::away);
    EXPECT_EQ(plain(state.text), text);
    EXPECT_FALSE(state.canBackUp);
  };
  Dictionary status = readyStatus();
  statuskey::sourceDisk.set(status, std::nullopt);
  expect(status, "Choose the Windows disk to protect first.");
  status = readyStatus();
  statuskey::targetArchive.set(status, std::nullopt);
  expect(status, "Choose where to keep the backups first.");
  status = readyStatus();
  statuskey::disks.set(status, {});
  expect(status, "The disk that is backed up is not connected.");
  status = readyStatus();
  statuskey::arcState.set(status, ArcState::foreign);
  expect(status, "The backups at this place are of another disk.");
  status = readyStatus();
  statuskey::arcState.set(status, ArcState::unavailable);
  expect(status, "The place of the backups cannot be reached.");
  status.set("arcState", Value(99));
  expect(status, "The place of the backups cannot be reached.");
}

TEST(StatusBarState, WhatRunsIsShownWithItsPercent) {
  Dictionary status = backupStatus(42.9, {});
  StatusBarState state = stateOf(status);
  EXPECT_EQ(state.icon, StatusBarIcon::running);
  EXPECT_EQ(state.percent, 42);
  EXPECT_EQ(plain(state.text), "Backing up: 42 %");
  EXPECT_TRUE(state.canStop);
  EXPECT_FALSE(state.canBackUp);
  statuskey::progressType.set(status, ProgressType::merge);
  EXPECT_EQ(plain(stateOf(status).text), "Merging backup points: 42 %");
  statuskey::progressType.set(status, ProgressType::restore);
  EXPECT_EQ(plain(stateOf(status).text), "Restoring: 42 %");
  status.set("progresstype", Value(9));
  EXPECT_EQ(plain(stateOf(status).text), "Working: 42 %");
}

TEST(StatusBarState, AnyPercentIsBroughtBetweenNoneAndAll) {
  EXPECT_EQ(stateOf(backupStatus(-4, {})).percent, 0);
  EXPECT_EQ(stateOf(backupStatus(1e300, {})).percent, 100);
  EXPECT_EQ(stateOf(backupStatus(std::numeric_limits<double>::quiet_NaN(), {})).percent, 0);
}

TEST(StatusBarState, WhatIsBeingStoppedCannotBeStoppedAgain) {
  const StatusBarState state = stateOf(backupStatus(42, {}), true);
  EXPECT_EQ(plain(state.text), "Stopping…");
  EXPECT_FALSE(state.canStop);
}

TEST(StatusBarState, ABusyHelperTakesNothing) {
  Dictionary status = readyStatus();
  for (const int value : {1, 7}) {
    status.set("state", Value(value));
    const StatusBarState state = stateOf(status);
    EXPECT_EQ(plain(state.text), "The helper is busy");
    EXPECT_FALSE(state.canBackUp || state.canStop);
  }
}

}  // namespace
}  // namespace zpk
