#include <gtest/gtest.h>

#include <limits>

#include "mainwindow/ControllerWorld.h"

namespace zpk {
namespace {

constexpr std::uint64_t kGB = 1'000'000'000;

// Counts the announcements of a key.
class Announcements {
 public:
  Announcements(Observable& object, std::string_view key) : _token(object.observe(key, [this] { ++_count; })) {}
  int count() const { return _count; }

 private:
  int _count = 0;
  Token _token;
};

class Projection : public testing::Test {
 protected:
  Projection() {
    world.files.setSpace("/backups", FileSystemSpace{4096, 1'000'000});
    world.launch();
  }

  ZPKUIDaemonController& ui() { return *world.controller; }
  static Dictionary archive(std::optional<std::string> path, std::int32_t state) {
    Dictionary status = readyStatus();
    statuskey::targetArchive.set(status, std::move(path));
    status.set("arcState", state);
    return status;
  }

  ControllerWorld world;
};

TEST_F(Projection, ShowsTheWindowsPartitionOfTheSourceDisk) {
  world.push(readyStatus());
  EXPECT_TRUE(ui().sourceFound());
  EXPECT_EQ(ui().sourceInfo(),
            (Dictionary{{"name", "BOOTCAMP"}, {"fsname", "NTFS"}, {"size", 128 * kGB}, {"free", 81 * kGB}}));
}

TEST_F(Projection, ShowsTheMountPointOfAMountedWindowsPartition) {
  const auto disk = bootCampDisk(1, "Disk");
  auto fields = disk->fields();
  auto mounted = fields.partitions->back()->fields();
  mounted.mountPoint = "/media/BOOTCAMP";
  fields.partitions->back() = std::make_shared<const RLDPartition>(mounted);
  Dictionary status = idleStatus({ZPKDisk::diskWithDisk(RLDDisk(fields))});
  statuskey::sourceDisk.set(status, identifierOf(*disk));
  world.push(status);
  EXPECT_EQ(ui().sourceInfo()["mountpoint"], Value("/media/BOOTCAMP"));
}

TEST_F(Projection, SourceThatIsNotABootCampDiskIsNotFoundAndLeavesItsIcon) {
  const auto withIcon = [](const std::shared_ptr<const ZPKDisk>& disk) {
    auto fields = disk->fields();
    fields.iconPath = "/icons/disk.png";
    return ZPKDisk::diskWithDisk(RLDDisk(fields));
  };
  const auto windows = withIcon(bootCampDisk(1, "Windows"));
  const auto mac = withIcon(macDisk(2, "Mac", 500 * kGB, 300 * kGB));
  Dictionary status = idleStatus({windows, mac});
  statuskey::sourceDisk.set(status, identifierOf(*windows));
  world.push(status);
  const auto icon = ui().sourceIcon();
  EXPECT_EQ(nameOf(icon), "/icons/disk.png");

  statuskey::sourceDisk.set(status, identifierOf(*mac));
  world.push(status);
  EXPECT_FALSE(ui().sourceFound());
  EXPECT_TRUE(ui().sourceInfo().empty());
  EXPECT_EQ(ui().sourceIcon(), icon);
}

TEST_F(Projection, SourceThatMatchesNoDiskIsNotFound) {
  Dictionary status = readyStatus();
  statuskey::sourceDisk.set(status, "ffffffff-ffff-ffff-ffff-ffffffffffff");
  world.push(status);
  EXPECT_FALSE(ui().sourceFound());
  EXPECT_TRUE(ui().sourceInfo().empty());
}

TEST_F(Projection, ReadyArchiveShowsNamePlaceSpacePointsAndDates) {
  world.push(readyStatus());
  EXPECT_TRUE(ui().arcSet());
  EXPECT_TRUE(ui().backupEnabled());
  EXPECT_EQ(ui().destinationInfo(),
            (Dictionary{{"name", "Office PC"}, {"location", "/backups"}, {"status", "Available: 4 GB"}}));
  EXPECT_EQ(nameOf(ui().targetIcon()), "type rldbackup");
  ASSERT_TRUE(ui().arcItems());
  EXPECT_EQ(ui().arcItems()->size(), 3U);
  EXPECT_EQ(ui().firstBackup(), "day 19675");
  EXPECT_EQ(ui().lastBackup(), "day 19689");
}

TEST_F(Projection, LocationWhoseSpaceCannotBeAskedHasNoStatus) {
  world.files.setSpace("/backups", std::nullopt);
  world.push(readyStatus());
  EXPECT_FALSE(ui().destinationInfo().contains("status"));
}

TEST_F(Projection, SpaceAroundTheArchiveIsKnownWhileItCanBeReached) {
  const FileSystemSpace space{4096, 1'000'000, 3'000'000};
  world.files.setSpace("/backups", space);
  for (const std::int32_t reachable : {0, 1, 3}) {
    world.push(archive("/backups/a.rldbackup", 2));
    EXPECT_FALSE(ui().destinationSpace());
    world.push(archive("/backups/a.rldbackup", reachable));
    EXPECT_EQ(ui().destinationSpace(), space) << "state " << reachable;
  }
  world.push(archive(std::nullopt, 0));
  EXPECT_FALSE(ui().destinationSpace());
}

TEST_F(Projection, AvailableAndNoneAreTranslatedAndTheOtherTwoAreNot) {
  world.texts.texts = {{"Available", "Frei"},
                       {"None", "Keine"},
                       {"Destination is not available", "weg"},
                       {"Arc is not from source disk", "fremd"}};
  world.push(archive("/backups/a.rldbackup", 1));
  EXPECT_EQ(ui().destinationInfo()["status"], Value("Frei: 4 GB"));
  EXPECT_EQ(ui().firstBackup(), "Keine");
  EXPECT_EQ(ui().lastBackup(), "Keine");
  world.push(archive("/backups/a.rldbackup", 2));
  EXPECT_EQ(ui().destinationInfo()["status"], Value("Destination is not available"));
  world.push(archive("/backups/a.rldbackup", 3));
  EXPECT_EQ(ui().destinationInfo()["status"], Value("Arc is not from source disk"));
}

TEST_F(Projection, EmptyArchiveHasNoPointsAndMayBeBackedUpTo) {
  world.push(readyStatus());
  world.push(archive("/backups/a.rldbackup", 1));
  EXPECT_TRUE(ui().arcSet());
  EXPECT_TRUE(ui().backupEnabled());
  EXPECT_FALSE(ui().arcItems());
  EXPECT_EQ(ui().firstBackup(), "None");
  EXPECT_EQ(ui().lastBackup(), "None");
  EXPECT_EQ(ui().destinationInfo(),
            (Dictionary{{"name", "a"}, {"location", "/backups"}, {"status", "Available: 4 GB"}}));
  EXPECT_EQ(nameOf(ui().targetIcon()), "type rldbackup");
}

TEST_F(Projection, UnavailableArchiveLeavesDatesAndIconAsTheyWere) {
  world.push(readyStatus());
  const auto icon = ui().targetIcon();
  world.push(archive("/backups/a.rldbackup", 2));
  EXPECT_TRUE(ui().arcSet());
  EXPECT_FALSE(ui().backupEnabled());
  EXPECT_FALSE(ui().arcItems());
  EXPECT_EQ(ui().firstBackup(), "day 19675");
  EXPECT_EQ(ui().lastBackup(), "day 19689");
  EXPECT_EQ(ui().targetIcon(), icon);
  EXPECT_EQ(ui().destinationInfo(),
            (Dictionary{{"name", "a"}, {"location", "/backups"}, {"status", "Destination is not available"}}));
}

TEST_F(Projection, ForeignArchiveShowsItsPointsAndMayBeBackedUpTo) {
  world.push(archive("/backups/a.rldbackup", 3));
  EXPECT_TRUE(ui().backupEnabled());
  EXPECT_EQ(ui().destinationInfo(),
            (Dictionary{{"name", "a"}, {"location", "/backups"}, {"status", "Arc is not from source disk"}}));
  EXPECT_EQ(nameOf(ui().targetIcon()), "type rldbackup");
  ASSERT_TRUE(ui().arcItems());
  EXPECT_EQ(ui().arcItems()->size(), 3U);
  EXPECT_EQ(ui().firstBackup(), "day 19675");
  EXPECT_EQ(ui().lastBackup(), "day 19689");
}

TEST_F(Projection, UnknownArchiveStateEndsAsNoArchiveAndKeepsThePoints) {
  for (const std::int32_t state : {4, 5, -1, std::numeric_limits<std::int32_t>::max()}) {
    world.push(readyStatus());
    const auto before = ui().arcItems();
    world.push(archive("/backups/a.rldbackup", state));
    EXPECT_FALSE(ui().arcSet()) << state;
    EXPECT_TRUE(ui().destinationInfo().empty()) << state;
    EXPECT_FALSE(ui().backupEnabled()) << state;
    EXPECT_EQ(ui().arcItems(), before) << state;
  }
}

TEST_F(Projection, NoArchivePathIsNoArchive) {
  world.push(readyStatus());
  world.push(archive(std::nullopt, 0));
  EXPECT_FALSE(ui().arcSet());
  EXPECT_FALSE(ui().backupEnabled());
  EXPECT_TRUE(ui().destinationInfo().empty());
}

TEST_F(Projection, ReadyArchiveWithoutPointsHasNoDates) {
  Dictionary status = readyStatus();
  statuskey::archiveDescription.set(status, archiveOf({}));
  world.push(status);
  EXPECT_FALSE(ui().firstBackup());
  EXPECT_FALSE(ui().lastBackup());
}

TEST_F(Projection, BackupShowsDiskAndArchiveByNameAlone) {
  world.push(backupStatus(34.5, {"one", "two"}));
  EXPECT_TRUE(ui().inProgress());
  EXPECT_EQ(ui().progressPercents(), Value(34.5));
  EXPECT_EQ(ui().elapsedTime(), "00:01:35");
  EXPECT_EQ(ui().remainingTime(), "00:05:10");
  EXPECT_EQ(ui().sourceInfo(), (Dictionary{{"name", "Flash Disk FD0256G"}}));
  EXPECT_EQ(ui().destinationInfo(), (Dictionary{{"name", "Office PC"}}));
  EXPECT_EQ(nameOf(ui().targetIcon()), "type rldbackup");
}

TEST_F(Projection, LogIsTheArrayOfTheRecordItself) {
  const Dictionary status = backupStatus(1, {"one", "two"});
  world.controller->stateChangedWithStatus(status);
  EXPECT_EQ(ui().log(), status["fulllog"].sharedArray());
}

TEST_F(Projection, BackupOfAnUnknownDiskHasNoSourceName) {
  Dictionary status = backupStatus(1, {});
  statuskey::sourceDisk.set(status, std::nullopt);
  world.push(status);
  EXPECT_FALSE(ui().sourceInfo().contains("name"));
  EXPECT_EQ(ui().destinationInfo()["name"], Value("Office PC"));
}

TEST_F(Projection, RestoreShowsTheArchiveAsSourceAndTheDiskAsDestination) {
  Dictionary status = backupStatus(1, {});
  statuskey::progressType.set(status, ProgressType::restore);
  statuskey::restoreTarget.set(status, macDisk(3, "Target", 500 * kGB, 1));
  world.push(status);
  EXPECT_EQ(ui().sourceInfo(), (Dictionary{{"name", "Office PC"}}));
  EXPECT_EQ(ui().destinationInfo(), (Dictionary{{"name", "Target"}}));
  EXPECT_EQ(nameOf(ui().sourceIcon()), "type rldbackup");
}

TEST_F(Projection, MergeShowsThePointAndItsParent) {
  Dictionary status = backupStatus(1, {});
  statuskey::progressType.set(status, ProgressType::merge);
  statuskey::archiveDescription.set(status, archiveOf({backupPoint(0, "first", 0), backupPoint(1, "second", 1)}));
  statuskey::mergeIndex.set(status, 1);
  world.push(status);
  EXPECT_EQ(ui().sourceInfo(), (Dictionary{{"name", "second"}}));
  EXPECT_EQ(ui().destinationInfo(), (Dictionary{{"name", "first"}}));
}

TEST_F(Projection, MergeIndexOutsideThePointsLeavesBothEndsUnchanged) {
  world.push(readyStatus());
  for (const std::uint64_t index :
       {std::uint64_t{0}, std::uint64_t{3}, std::numeric_limits<std::uint64_t>::max()}) {
    Dictionary status = backupStatus(1, {});
    statuskey::progressType.set(status, ProgressType::merge);
    statuskey::mergeIndex.set(status, index);
    world.push(status);
    EXPECT_EQ(ui().sourceInfo()["name"], Value("BOOTCAMP")) << index;
    EXPECT_EQ(ui().destinationInfo()["name"], Value("Office PC")) << index;
  }
}

TEST_F(Projection, UnknownOperationChangesOnlyPercentTimesAndLog) {
  world.push(readyStatus());
  Dictionary status = backupStatus(12, {"line"});
  status.set("progresstype", 9);
  world.push(status);
  EXPECT_EQ(ui().progressPercents(), Value(12));
  EXPECT_EQ(ui().sourceInfo()["name"], Value("BOOTCAMP"));
}

TEST_F(Projection, StateWithoutAMeaningUpdatesOnlyErrorsSheetAndProgressFlag) {
  world.push(backupStatus(50, {"line"}));
  Dictionary status = readyStatus();
  status.set("state", 3);
  statuskey::lastBackupError.set(status, "it failed");
  statuskey::opError.set(status, "now");
  world.push(status);
  EXPECT_FALSE(ui().inProgress());
  EXPECT_EQ(ui().lastBackupError(), "it failed");
  EXPECT_EQ(ui().errorDescription(), "now");
  EXPECT_EQ(ui().modalSession(), 4);
  EXPECT_EQ(ui().sourceInfo(), (Dictionary{{"name", "Flash Disk FD0256G"}}));
  EXPECT_FALSE(ui().backupEnabled());
}

TEST_F(Projection, RecordWithoutAStateReadsAsIdle) {
  Dictionary status = readyStatus();
  status.remove("state");
  world.push(status);
  EXPECT_TRUE(ui().sourceFound());
}

TEST_F(Projection, SettingsAreAnnouncedOnlyWhenTheyReallyChange) {
  Announcements count(ui(), "maxIncCount");
  Announcements check(ui(), "checkFS");
  Dictionary status = readyStatus();
  statuskey::checkFS.set(status, true);
  world.push(status);
  world.push(status);
  EXPECT_EQ(ui().maxIncCount(), 10U);
  EXPECT_TRUE(ui().checkFS());
  EXPECT_EQ(count.count(), 1);
  EXPECT_EQ(check.count(), 1);
}

TEST_F(Projection, UnchangedRecordAnnouncesNothingButItself) {
  world.push(readyStatus());
  Announcements source(ui(), "sourceInfo");
  Announcements destination(ui(), "destinationInfo");
  Announcements enabled(ui(), "backupEnabled");
  world.push(readyStatus());
  EXPECT_EQ(source.count() + destination.count() + enabled.count(), 0);
}

TEST_F(Projection, DiskPictureIsLoadedOnceItIsThereAndNotAgain) {
  const auto disk = bootCampDisk(1, "Disk");
  auto fields = disk->fields();
  fields.iconPath = "/icons/disk.png";
  Dictionary status = idleStatus({ZPKDisk::diskWithDisk(RLDDisk(fields))});
  statuskey::sourceDisk.set(status, identifierOf(*disk));
  world.images.haveFiles = false;
  world.push(status);
  EXPECT_FALSE(ui().sourceIcon());
  world.images.haveFiles = true;
  world.images.loads = 0;
  for (int i = 0; i < 5; ++i) world.push(status);
  EXPECT_EQ(world.images.loads, 1U);
  EXPECT_EQ(nameOf(ui().sourceIcon()), "/icons/disk.png");
}

TEST_F(Projection, LastBackupErrorGoesWithTheRecordThatHasNone) {
  Dictionary status = readyStatus();
  statuskey::lastBackupError.set(status, "disk full");
  world.push(status);
  EXPECT_EQ(ui().lastBackupError(), "disk full");
  world.push(readyStatus());
  EXPECT_FALSE(ui().lastBackupError());
}

TEST_F(Projection, AlwaysWantsAReload) {
  EXPECT_EQ(ui().needReload(), Value(true));
}

TEST_F(Projection, PointsMergeOnlyAloneWithAParentThatIsNotPinned) {
  world.push(readyStatus());  // point 0 is pinned
  const auto canMerge = [this](IndexSet rows) {
    ui().setSelectedArcItemsIndexes(std::move(rows));
    return ui().canMergeSelectedArcItem();
  };
  EXPECT_FALSE(canMerge({}));
  EXPECT_FALSE(canMerge({0}));
  EXPECT_FALSE(canMerge({1}));
  EXPECT_TRUE(canMerge({2}));
  EXPECT_FALSE(canMerge({1, 2}));
  EXPECT_FALSE(canMerge({9}));
}

TEST_F(Projection, MergePermissionIsAnnouncedWithSelectionAndPoints) {
  Announcements permission(ui(), "canMergeSelectedArcItem");
  world.push(readyStatus());
  EXPECT_EQ(permission.count(), 1);
  ui().setSelectedArcItemsIndexes({1});
  EXPECT_EQ(permission.count(), 2);
}

// Every key of a status in a shape that the helper never sends: nothing may crash, and what is shown stays text.
TEST_F(Projection, SurvivesEveryKeyMissingOfAnotherKindOrAbsurd) {
  const std::string longText(100'000, 'x');
  const std::vector<Value> shapes = {Value(),
                                     Value(true),
                                     Value(-1),
                                     Value(std::numeric_limits<std::uint64_t>::max()),
                                     Value(1e300),
                                     Value(-1e300),
                                     Value(longText),
                                     Value(Array{Value(), 1, "a"}),
                                     Value(Dictionary{{"a", 1}}),
                                     Value(Bytes{1, 2}),
                                     Value(Date{1e300})};
  for (const Dictionary& whole : {readyStatus(), backupStatus(1, {"line"})}) {
    for (const StatusKeyRow& row : statuskey::kAll) {
      for (const Value& shape : shapes) {
        Dictionary status = whole;
        status.set(row.key, shape);
        world.controller->stateChangedWithStatus(status);
        if (ui().modalSession() == 4) ui().setModalSession(0);
      }
    }
  }
  world.push(readyStatus());
  EXPECT_TRUE(ui().backupEnabled());
}

}  // namespace
}  // namespace zpk
