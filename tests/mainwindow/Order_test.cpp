#include <gtest/gtest.h>

#include "mainwindow/ControllerWorld.h"

namespace zpk {
namespace {

using Keys = std::vector<std::string>;

// The keys of an object in the order in which they are announced.
class Order {
 public:
  explicit Order(Observable& object) {
    for (const char* key :
         {"currentStatus",   "sourceFound",     "arcSet",        "backupEnabled", "updating",    "progressPercents",
          "sourceInfo",      "destinationInfo", "sourceIcon",    "targetIcon",    "firstBackup", "lastBackup",
          "inProgress",      "elapsedTime",     "remainingTime", "log",           "arcItems",    "errorDescription",
          "lastBackupError", "checkFS",         "maxIncCount"}) {
      _tokens.push_back(object.observe(key, [this, key] { announced.emplace_back(key); }));
    }
  }
  Keys announced;

 private:
  std::vector<Token> _tokens;
};

// Writes its scrolling between the keys.
struct ScrollInOrder final : LogScrollView {
  explicit ScrollInOrder(Keys& keys) : order(keys) {}
  bool documentViewIsFlipped() const override { return true; }
  double documentViewFrameY() const override { return 0; }
  double documentViewFrameHeight() const override { return 1; }
  double contentViewBoundsHeight() const override { return 1; }
  void scrollDocumentViewToPoint(double, double) override { order.emplace_back("scroll"); }
  Keys& order;
};

// What one record announces, and when, on a controller that has shown nothing yet.
class ProjectionOrder : public testing::Test {
 protected:
  ProjectionOrder() {
    world.launch();
    world.controller->setLogScrollView(&log);
  }
  ~ProjectionOrder() override { world.controller->setLogScrollView(nullptr); }

  static std::shared_ptr<const ZPKDisk> pictured(const std::shared_ptr<const ZPKDisk>& disk) {
    auto fields = disk->fields();
    fields.iconPath = "/icons/disk.png";
    return ZPKDisk::diskWithDisk(RLDDisk(fields));
  }
  static Dictionary ready() {
    const auto disk = pictured(bootCampDisk(1, "Flash Disk FD0256G"));
    Dictionary status = readyStatus();
    statuskey::disks.set(status, {disk});
    statuskey::checkFS.set(status, true);
    statuskey::lastBackupError.set(status, "disk full");
    return status;
  }
  static Dictionary running(ProgressType type) {
    Dictionary status = backupStatus(12, {"line"});
    statuskey::disks.set(status, {pictured(bootCampDisk(1, "Flash Disk FD0256G"))});
    statuskey::restoreTarget.set(status, pictured(macDisk(3, "Target", 9, 1)));
    statuskey::mergeIndex.set(status, 2);
    statuskey::progressType.set(status, type);
    return status;
  }
  // The progress keys, which are the same for every kind of operation, and then `rest`.
  static Keys afterProgress(const Keys& rest) {
    Keys keys = {"currentStatus", "inProgress", "progressPercents", "elapsedTime", "remainingTime",
                 "log",           "scroll"};
    keys.insert(keys.end(), rest.begin(), rest.end());
    return keys;
  }

  ControllerWorld world;
  Order order{*world.controller};
  ScrollInOrder log{order.announced};
};

TEST_F(ProjectionOrder, IdleShowsSettingsSourceAndThenDestination) {
  world.push(ready());
  EXPECT_EQ(order.announced, (Keys{"currentStatus", "lastBackupError", "maxIncCount", "sourceIcon", "sourceFound",
                                   "sourceInfo", "checkFS", "arcSet", "targetIcon", "arcItems", "firstBackup",
                                   "lastBackup", "destinationInfo", "backupEnabled"}));
}

TEST_F(ProjectionOrder, ArchiveThatCannotBeDescribedIsSetOnlyForAMoment) {
  Dictionary status = idleStatus({});
  statuskey::targetArchive.set(status, "/backups/a.rldbackup");
  status.set("arcState", 4);
  std::vector<bool> seen;
  const Token token = world.controller->observe("arcSet", [&] { seen.push_back(world.controller->arcSet()); });
  world.push(status);
  EXPECT_EQ(seen, (std::vector<bool>{true, false}));
  EXPECT_EQ(order.announced, (Keys{"currentStatus", "arcSet", "arcSet"}));
}

TEST_F(ProjectionOrder, BackupShowsItsSourceFirst) {
  world.push(running(ProgressType::backup));
  EXPECT_EQ(order.announced, afterProgress({"sourceIcon", "sourceInfo", "destinationInfo", "targetIcon"}));
  EXPECT_EQ(nameOf(world.controller->sourceIcon()), "/icons/disk.png");
  EXPECT_EQ(nameOf(world.controller->targetIcon()), "type rldbackup");
}

TEST_F(ProjectionOrder, RestoreShowsItsNamesAndThenItsIcons) {
  world.push(running(ProgressType::restore));
  EXPECT_EQ(order.announced, afterProgress({"destinationInfo", "sourceInfo", "sourceIcon", "targetIcon"}));
  EXPECT_EQ(nameOf(world.controller->sourceIcon()), "type rldbackup");
  EXPECT_EQ(nameOf(world.controller->targetIcon()), "/icons/disk.png");
}

TEST_F(ProjectionOrder, MergeShowsItsIconsAndThenItsNames) {
  world.push(running(ProgressType::merge));
  EXPECT_EQ(order.announced, afterProgress({"targetIcon", "sourceIcon", "sourceInfo", "destinationInfo"}));
  EXPECT_EQ(nameOf(world.controller->sourceIcon()), "type rldbackup");
  EXPECT_EQ(nameOf(world.controller->targetIcon()), "type rldbackup");
}

TEST_F(ProjectionOrder, MergeIndexOutsideThePointsStillShowsTheIcons) {
  Dictionary status = running(ProgressType::merge);
  statuskey::mergeIndex.set(status, 3);
  world.push(status);
  EXPECT_EQ(order.announced, afterProgress({"targetIcon", "sourceIcon"}));
}

TEST_F(ProjectionOrder, UnknownOperationEndsWithTheLog) {
  Dictionary status = running(ProgressType::backup);
  status.set("progresstype", 3);
  world.push(status);
  EXPECT_EQ(order.announced, afterProgress({}));
}

TEST_F(ProjectionOrder, StateWithoutAMeaningEndsWithTheProgressFlag) {
  world.push(running(ProgressType::backup));
  world.controller->selectSourceAction();
  order.announced.clear();
  Dictionary status = ready();
  status.set("state", 3);
  world.push(status);
  EXPECT_EQ(order.announced, (Keys{"currentStatus", "lastBackupError", "inProgress"}));
  EXPECT_EQ(world.controller->modalSession(), 0);
}

TEST_F(ProjectionOrder, SheetIsDecidedBeforeAnythingElseIsShown) {
  std::int32_t session = -1;
  const Token token =
      world.controller->observe("lastBackupError", [&] { session = world.controller->modalSession(); });
  Dictionary status = ready();
  statuskey::opError.set(status, "it failed");
  world.push(status);
  EXPECT_EQ(session, 4);
  ASSERT_GE(order.announced.size(), 3U);
  EXPECT_EQ(order.announced[1], "errorDescription");
  EXPECT_EQ(order.announced[2], "lastBackupError");
}

}  // namespace
}  // namespace zpk
