#include <gtest/gtest.h>

#include "mainwindow/ControllerWorld.h"

namespace zpk {
namespace {

class Sheets : public testing::Test {
 protected:
  Sheets() { world.launch(); }

  ZPKUIDaemonController& ui() { return *world.controller; }
  static Dictionary in(HelperState state) {
    Dictionary status = readyStatus();
    statuskey::state.set(status, state);
    return status;
  }
  static Dictionary failing(const std::string& error) {
    Dictionary status = readyStatus();
    statuskey::opError.set(status, error);
    return status;
  }

  ControllerWorld world;
};

TEST_F(Sheets, BusyHelperShowsTheUpdateSheetOnceAndIdleClosesIt) {
  world.push(in(HelperState::busy));
  world.push(in(HelperState::busy));
  EXPECT_EQ(ui().modalSession(), 1);
  EXPECT_EQ(world.sheets.begun, 1);
  world.push(in(HelperState::idle));
  EXPECT_EQ(ui().modalSession(), 0);
  EXPECT_EQ(world.sheets.ended, 1);
}

TEST_F(Sheets, RecordThatIsNotBusyClosesWhateverIsOpen) {
  for (const std::int32_t session : {2, 3, 5, 6, 7, 8}) {
    world.push(readyStatus());
    ui().setModalSession(session);
    ASSERT_EQ(ui().modalSession(), session);
    world.push(readyStatus());
    EXPECT_EQ(ui().modalSession(), 0) << session;
    EXPECT_TRUE(isNoWindow(world.sheets.shown)) << session;
  }
}

TEST_F(Sheets, BusyHelperReplacesAnotherSheetAndAnErrorReplacesThat) {
  world.push(readyStatus());
  ui().selectBackupPath();
  world.push(in(HelperState::busy));
  EXPECT_EQ(ui().modalSession(), 1);
  EXPECT_EQ(world.sheets.ended, 1);
  Dictionary status = failing("it failed");
  statuskey::state.set(status, HelperState::busy);
  world.push(status);
  EXPECT_EQ(ui().modalSession(), 4);
  EXPECT_EQ(ui().errorDescription(), "it failed");
}

TEST_F(Sheets, NumbersAreThoseOfTheirWindows) {
  const auto outlet = [this](std::int32_t session) {
    return std::get<SheetOutlet>(ui().windowForModalSession(session));
  };
  EXPECT_TRUE(isNoWindow(ui().windowForModalSession(0)));
  EXPECT_EQ(outlet(1), SheetOutlet::updateInfoWindow);
  EXPECT_EQ(outlet(4), SheetOutlet::errorDescriptionWindow);
  EXPECT_EQ(outlet(6), SheetOutlet::arcNotFromSourceWindow);
  EXPECT_EQ(outlet(7), SheetOutlet::mergeConfirmationWindow);
  EXPECT_EQ(outlet(8), SheetOutlet::incrementLabelWindow);
}

TEST_F(Sheets, ErrorSheetStaysUntilItIsDismissed) {
  world.push(failing("first"));
  world.push(failing("second"));
  world.push(in(HelperState::busy));
  EXPECT_EQ(ui().modalSession(), 4);
  EXPECT_EQ(ui().errorDescription(), "first");
  EXPECT_EQ(world.sheets.begun, 1);
}

TEST_F(Sheets, DismissingTheErrorOpensWhatTheNewestRecordAsksFor) {
  world.push(failing("first"));
  world.push(in(HelperState::busy));
  ui().sheetCancelAction();
  EXPECT_EQ(ui().modalSession(), 1);
}

TEST_F(Sheets, CancelClosesAnyOtherSheetAndProjectsNothing) {
  world.push(readyStatus());
  ui().selectSourceAction();
  ui().sheetCancelAction();
  EXPECT_EQ(ui().modalSession(), 0);
  EXPECT_EQ(world.sheets.begun, 1);
}

TEST_F(Sheets, CancelOfTheLocationPanelAndOfTheChooserClosesThem) {
  world.push(readyStatus());
  ui().selectBackupPath();
  world.sheets.shownAs<ZPKArchiveSelector>()->cancel();
  EXPECT_EQ(ui().modalSession(), 0);
  ui().restore();
  world.sheets.shownAs<ZPKDisksListWindow>()->performCancel();
  EXPECT_EQ(ui().modalSession(), 0);
  EXPECT_EQ(world.helper().commands(), std::vector<std::string>{});
}

TEST_F(Sheets, ErrorThatTheRecordStillCarriesIsShownAgain) {
  world.push(failing("first"));
  world.push(failing("second"));
  ui().sheetCancelAction();
  EXPECT_EQ(ui().modalSession(), 4);
  EXPECT_EQ(ui().errorDescription(), "second");
}

TEST_F(Sheets, HelperThatIsGoneAsksForNoSheetWhenTheErrorIsDismissed) {
  world.push(failing("first"));
  world.transport.helperDies();
  ui().sheetCancelAction();
  EXPECT_EQ(ui().modalSession(), 0);
  world.transport.helperAppears();
  world.loop.advance(Seconds(3));
  world.push(in(HelperState::busy));
  EXPECT_EQ(ui().modalSession(), 1);
}

TEST_F(Sheets, SettingTheSessionThatIsShownReopensIt) {
  world.push(readyStatus());
  ui().setModalSession(7);
  ui().setModalSession(7);
  EXPECT_EQ(world.sheets.begun, 2);
  EXPECT_EQ(world.sheets.ended, 1);
  EXPECT_EQ(ui().modalSession(), 7);
}

TEST_F(Sheets, NumberWithoutASheetLeavesNone) {
  ui().setModalSession(7);
  for (const std::int32_t session : {9, -1, 100}) {
    ui().setModalSession(session);
    EXPECT_EQ(ui().modalSession(), 0);
  }
}

TEST_F(Sheets, LocationPanelIsNewEachTimeItOpensAndTheChooserIsOne) {
  world.push(readyStatus());
  ui().setModalSession(5);
  const auto first = world.sheets.shownAs<ZPKArchiveSelector>();
  ui().setModalSession(5);
  EXPECT_NE(world.sheets.shownAs<ZPKArchiveSelector>(), first);
  ui().setModalSession(3);
  const auto chooser = world.sheets.shownAs<ZPKDisksListWindow>();
  ui().setModalSession(2);
  EXPECT_EQ(world.sheets.shownAs<ZPKDisksListWindow>(), chooser);
}

TEST_F(Sheets, RestoreOffersTheDisksThatCanTakeALegacyArchivesPartitions) {
  const auto legacyTargets = [this](std::size_t partitions) {
    Dictionary status =
        idleStatus({bootCampDisk(1, "One slot"), emptyDisk(2, "Four slots", 9), macDisk(3, "One", 9, 1)});
    statuskey::targetArchive.set(status, "/backups/a.rldbackup");
    statuskey::archiveDescription.set(status, archiveOf({backupPoint(0, "", 0, false, 5, partitions)}, true));
    world.push(status);
    ui().setSelectedArcItemsIndexes({0});
    ui().restore();
    return world.sheets.shownAs<ZPKDisksListWindow>()->disksList().size();
  };
  EXPECT_EQ(legacyTargets(1), 3U);
  EXPECT_EQ(legacyTargets(2), 1U);
  EXPECT_EQ(legacyTargets(5), 0U);
}

TEST_F(Sheets, ForeignArchiveIsLegacyOrNotLikeAReadyOne) {
  for (const bool legacy : {true, false}) {
    Dictionary status = idleStatus({bootCampDisk(1, "One slot")});
    statuskey::targetArchive.set(status, "/backups/a.rldbackup");
    statuskey::archiveDescription.set(status, archiveOf({backupPoint(0, "", 0, false, 5, 2)}, legacy));
    statuskey::arcState.set(status, ArcState::foreign);
    world.push(status);
    ui().setSelectedArcItemsIndexes({0});
    ui().restore();
    EXPECT_EQ(world.sheets.shownAs<ZPKDisksListWindow>()->disksList().size(), legacy ? 0U : 1U);
  }
}

TEST_F(Sheets, RestoreOffersOnlyDisksThatAreRestoreTargets) {
  Dictionary copy = roundTrip(*macDisk(3, "No target", 9, 1), recordClasses());
  copy.set("isRestoreTarget", false);
  const auto noTarget = std::make_shared<const ZPKDisk>(KeyedDecoder(copy));
  const auto target = emptyDisk(2, "Target", 9);
  world.push(idleStatus({noTarget, target}));
  ui().restore();
  const auto chooser = world.sheets.shownAs<ZPKDisksListWindow>();
  EXPECT_EQ(chooser->type(), ZPKDisksListWindow::kRestoreType);
  ASSERT_EQ(chooser->disksList().size(), 1U);
  EXPECT_EQ(chooser->disksList()[0]->name(), "Target");
}

TEST_F(Sheets, LeastRestoreSizeIsThatOfTheLastPartitionOfTheFirstDisk) {
  const auto stored = [](std::initializer_list<std::uint64_t> minSizes) {
    RecordList<RLDPartition> partitions;
    for (const std::uint64_t size : minSizes)
      partitions.push_back(std::make_shared<const RLDPartition>(RLDPartition::Fields{.partMinSize = size}));
    return std::make_shared<const RLDArcDisk>(RLDDisk::Fields{.partitions = partitions}, std::nullopt);
  };
  RLDArchiveItem::Fields fields;
  fields.disks = RecordList<RLDArcDisk>{stored({10, 30, 20}), stored({99})};
  Dictionary status = readyStatus();
  statuskey::archiveDescription.set(
      status, archiveOf({backupPoint(0, "", 0), std::make_shared<const RLDArchiveItem>(fields)}));
  world.push(status);
  ui().setSelectedArcItemsIndexes({1});
  ui().restore();
  EXPECT_EQ(world.sheets.shownAs<ZPKDisksListWindow>()->minRestoreSize(), 20U);
  ui().selectSourceAction();
  EXPECT_EQ(world.sheets.shownAs<ZPKDisksListWindow>()->type(), ZPKDisksListWindow::kSelectType);
}

TEST_F(Sheets, WithoutAWindowNoSheetIsBegun) {
  ui().setMainWindow(nullptr);
  world.push(failing("first"));
  EXPECT_EQ(ui().modalSession(), 0);
}

}  // namespace
}  // namespace zpk
