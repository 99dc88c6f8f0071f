#include <gtest/gtest.h>

#include "mainwindow/ControllerWorld.h"

namespace zpk {
namespace {

class Commands : public testing::Test {
 protected:
  Commands() { world.launch(); }

  ZPKUIDaemonController& ui() { return *world.controller; }
  FakeHelper& helper() { return world.helper(); }
  void ready() { world.push(readyStatus()); }
  std::vector<std::string> sent() { return helper().commands(); }

  ControllerWorld world;
};

using Names = std::vector<std::string>;

TEST_F(Commands, BackupIsSentAtOnceUnlessTheArchiveIsForeign) {
  for (const ArcState state : {ArcState::ready, ArcState::empty, ArcState::unavailable}) {
    Dictionary status = readyStatus();
    statuskey::arcState.set(status, state);
    world.push(status);
    helper().forgetCalls();
    ui().backup();
    EXPECT_EQ(sent(), Names{"backup"});
  }
}

TEST_F(Commands, BackupOntoAForeignArchiveAsksFirst) {
  Dictionary status = readyStatus();
  statuskey::arcState.set(status, ArcState::foreign);
  world.push(status);
  ui().backup();
  EXPECT_EQ(ui().modalSession(), 6);
  EXPECT_EQ(helper().count("backup"), 0U);
  ui().sheetOKAction();
  EXPECT_EQ(helper().count("backup"), 0U);
  ui().backupOntoForeignArchive();
  EXPECT_EQ(helper().count("backup"), 1U);
}

TEST_F(Commands, RefusedCommandShowsItsMessageAndWritesOneLine) {
  ready();
  ui().selectBackupPath();
  helper().answer("setTargetPath", 6);
  world.sheets.shownAs<ZPKArchiveSelector>()->setURL("/x/y.rldbackup");
  ui().sheetOKAction();
  EXPECT_EQ(ui().modalSession(), 4);
  EXPECT_EQ(ui().errorDescription(), "Service is busy");
  EXPECT_EQ(world.log.count("ZPKUI::Daemon action::error: Service is busy"), 1U);
}

TEST_F(Commands, ErrorMessageIsTranslatedUnknownCodesHaveNone) {
  world.texts.texts["Bad index"] = "Falscher Index";
  helper().answerOnce("backup", 7);
  ui().backup();
  EXPECT_EQ(ui().errorDescription(), "Falscher Index");
  ui().sheetCancelAction();
  helper().answerOnce("backup", 8);
  ui().backup();
  EXPECT_EQ(ui().errorDescription(), "No description");
}

TEST_F(Commands, RefusedCommandSaysWhatToDoAndAnOperationsErrorSpeaksForItself) {
  helper().answerOnce("backup", 3);
  ui().backup();
  EXPECT_EQ(ui().errorAdvice(), "Choose the Windows disk to protect first.");
  ui().sheetCancelAction();
  std::string shown = "unset";
  const Token token = ui().observe("errorAdvice", [&] { shown = ui().errorAdvice(); });
  Dictionary status = readyStatus();
  statuskey::opError.set(status, "The disk is full. Free 12 GB on it.");
  world.push(status);
  EXPECT_EQ(ui().errorDescription(), "The disk is full. Free 12 GB on it.");
  EXPECT_EQ(shown, "");
}

TEST_F(Commands, UnreachableHelperShowsNoErrorSheet) {
  ready();
  world.transport.helperDies();
  ui().backup();
  EXPECT_EQ(ui().modalSession(), 0);
}

TEST_F(Commands, BreakProgressIgnoresTheAnswer) {
  ready();
  helper().answer("breakProgress", 6);
  ui().breakProgress();
  EXPECT_EQ(sent(), Names{"breakProgress"});
  EXPECT_EQ(ui().modalSession(), 0);
}

TEST_F(Commands, ChosenSourceIsSentByItsIdentifierAndLogged) {
  const auto second = bootCampDisk(9, "Second");
  world.push(idleStatus({bootCampDisk(1, "First"), macDisk(2, "Mac", 9, 1), second}));
  ui().selectSourceAction();
  EXPECT_EQ(ui().modalSession(), 3);
  const auto chooser = world.sheets.shownAs<ZPKDisksListWindow>();
  ASSERT_TRUE(chooser);
  ASSERT_EQ(chooser->disksList().size(), 2U);  // Boot Camp disks only
  chooser->setSelectedDisksIndexes({1});
  chooser->performOk();
  EXPECT_EQ(helper().lastCall("setBackupSource").arguments, Array{identifierOf(*second)});
  EXPECT_EQ(world.log.count("ZPKUI::Set source: " + identifierOf(*second)), 1U);
  EXPECT_EQ(ui().modalSession(), 3);  // until the helper's next record
  world.push(readyStatus());
  EXPECT_EQ(ui().modalSession(), 0);
}

TEST_F(Commands, NothingIsSentWithoutAChosenSource) {
  world.push(idleStatus({bootCampDisk(1, "First")}));
  ui().selectSourceAction();
  world.sheets.shownAs<ZPKDisksListWindow>()->setSelectedDisksIndexes({});
  ui().sheetOKAction();
  EXPECT_EQ(sent(), Names{});
  EXPECT_EQ(ui().modalSession(), 3);
}

TEST_F(Commands, ChosenLocationIsSentWithTheArchiveExtension) {
  ready();
  ui().selectBackupPath();
  const auto panel = world.sheets.shownAs<ZPKArchiveSelector>();
  ASSERT_TRUE(panel);
  EXPECT_EQ(panel->allowedFileTypes(), std::vector<std::string>{"rldbackup"});
  EXPECT_FALSE(panel->allowsOtherFileTypes());
  EXPECT_FALSE(panel->treatsFilePackagesAsDirectories());
  panel->setURL("/media/disk/Home");
  panel->ok();
  EXPECT_EQ(helper().lastCall("setTargetPath").arguments, Array{"/media/disk/Home.rldbackup"});
}

TEST_F(Commands, RestoreSendsPointDiskNumberAndSize) {
  ready();
  ui().setSelectedArcItemsIndexes({1});
  ui().restore();
  const auto chooser = world.sheets.shownAs<ZPKDisksListWindow>();
  ASSERT_TRUE(chooser);
  EXPECT_EQ(chooser->type(), ZPKDisksListWindow::kRestoreType);
  EXPECT_EQ(chooser->minRestoreSize(), 20'000'000'000U);
  chooser->setSelectedDisksIndexes({1});
  chooser->setSliderValue(60'000'000'000U);
  chooser->performOk();
  const auto& disk = *chooser->disksList()[1];
  EXPECT_EQ(helper().lastCall("restore_toDisk_withNumber_withTargetSize").arguments,
            (Array{1, identifierOf(disk), disk.diskNumber(), 60'000'000'000U}));
}

TEST_F(Commands, RestoreWithoutASelectedPointOrDiskSendsNothing) {
  ready();
  ui().restore();
  ui().sheetOKAction();
  EXPECT_EQ(sent(), Names{});
  ui().setSelectedArcItemsIndexes({1});
  world.sheets.shownAs<ZPKDisksListWindow>()->setSelectedDisksIndexes({});
  ui().sheetOKAction();
  EXPECT_EQ(sent(), Names{});
  EXPECT_EQ(ui().modalSession(), 2);
}

TEST_F(Commands, OkSendsNothingInAnySheetThatIsNoChoice) {
  ready();
  ui().setSelectedArcItemsIndexes({1});
  for (const std::int32_t session : {0, 1, 4, 6}) {
    ui().setModalSession(session);
    ui().sheetOKAction();
    EXPECT_EQ(sent(), Names{}) << session;
    EXPECT_EQ(ui().modalSession(), session);
  }
}

TEST_F(Commands, PointsAreNamedByTheFirstOfTheirIndex) {
  Dictionary status = readyStatus();
  statuskey::archiveDescription.set(
      status, archiveOf({backupPoint(40, "", 0), backupPoint(70, "", 1), backupPoint(70, "", 2)}));
  world.push(status);
  ui().pin(false, *backupPoint(70, "", 2));
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments[1], Value(1));
  ui().pin(true, *backupPoint(99, "", 0));
  ui().sheetOKAction();
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments, (Array{true, 99, ""}));
}

TEST_F(Commands, UnpinningByTheRecordReachesTheMainController) {
  ready();
  (*ui().arcItems())[0]->setIsPinned(false);
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments.at(0), Value(false));
}

TEST_F(Commands, LimitIsStoredBeforeItIsSent) {
  ready();
  std::uint64_t shown = 0;
  helper().whenCalled("setMaxIncrementsCount", [&] { shown = ui().maxIncCount(); });
  ui().setMaxIncCount(42);
  EXPECT_EQ(shown, 42U);
}

TEST_F(Commands, MergeIsConfirmedThenSentForTheSelectedPoint) {
  ready();
  ui().mergeArvhiveAction();
  EXPECT_EQ(ui().modalSession(), 7);
  ui().sheetOKAction();
  EXPECT_EQ(sent(), Names{});
  ui().setSelectedArcItemsIndexes({2});
  ui().sheetOKAction();
  EXPECT_EQ(helper().lastCall("mergeArchiveWithParent").arguments, Array{2});
}

TEST_F(Commands, PinningAsksForALabelAndSendsItEvenWhenEmpty) {
  ready();
  (*ui().arcItems())[1]->setIsPinned(true);
  EXPECT_EQ(ui().modalSession(), 8);
  EXPECT_EQ(sent(), Names{});
  ui().sheetOKAction();
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments, (Array{true, 1, ""}));
  ui().setIncrementLabel("Before the update");
  ui().sheetOKAction();
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments, (Array{true, 1, "Before the update"}));
}

TEST_F(Commands, LabelIsEmptyEachTimeItsSheetOpens) {
  ready();
  ui().setIncrementLabel("old");
  ui().pin(true, *(*ui().arcItems())[0]);
  EXPECT_EQ(ui().incrementLabel(), "");
}

TEST_F(Commands, UnpinningSendsNoLabelAtOnce) {
  ready();
  ui().pin(false, *(*ui().arcItems())[0]);
  const auto call = helper().lastCall("pin_arcItem_withLabel");
  ASSERT_GE(call.arguments.size(), 2U);
  EXPECT_EQ(call.arguments[0], Value(false));
  EXPECT_EQ(call.arguments[1], Value(0));
  EXPECT_TRUE(call.arguments.size() == 2 || call.arguments[2].isNull());
  EXPECT_EQ(ui().modalSession(), 0);
}

TEST_F(Commands, PinGoesByPositionAndFallsBackToTheIndexOfThePoint) {
  Dictionary status = readyStatus();
  statuskey::archiveDescription.set(status, archiveOf({backupPoint(40, "", 0), backupPoint(70, "", 1)}));
  world.push(status);
  ui().pin(false, *backupPoint(70, "", 0));
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments[1], Value(1));
  ui().pin(false, *backupPoint(99, "", 0));
  EXPECT_EQ(helper().lastCall("pin_arcItem_withLabel").arguments[1], Value(99));
}

TEST_F(Commands, LimitShowsAtOnceAndIsSetBackByTheNextRecord) {
  ready();
  helper().answer("setMaxIncrementsCount", 6);
  ui().setMaxIncCount(42);
  EXPECT_EQ(ui().maxIncCount(), 42U);
  EXPECT_EQ(helper().lastCall("setMaxIncrementsCount").arguments, Array{42});
  EXPECT_EQ(ui().modalSession(), 4);
  ready();
  EXPECT_EQ(ui().maxIncCount(), 10U);
}

TEST_F(Commands, FileSystemCheckShowsOnlyWhatTheHelperHasTakenOver) {
  ready();
  ui().setCheckFS(true);
  EXPECT_FALSE(ui().checkFS());
  EXPECT_EQ(helper().lastCall("setCheckFS").arguments, Array{true});
}

TEST_F(Commands, PushDuringACommandIsProjectedBeforeItReturns) {
  ready();
  helper().whenCalled("backup", [this] { ui().stateChangedWithStatus(backupStatus(1, {"line"})); });
  ui().backup();
  EXPECT_TRUE(ui().inProgress());
}

}  // namespace
}  // namespace zpk
