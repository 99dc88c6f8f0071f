// The controller's side of opening a backup point's files.
#include "mainwindow/ActionObstacles.h"
#include "mainwindow/ControllerWorld.h"
#include "mainwindow/ModalSession.h"
#include "mount/DriverWorld.h"
#include "mount/VolumesWorld.h"
#include "support/MemoryFileManager.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A controller with two backup points whose images can be attached.
class Mounting : public testing::Test {
 protected:
  Mounting() {
    images.addFolder("/b/p0");
    images.addFolder("/b/p1");
    images.add("/b/p0/disk0.pvhd", "image");
    images.add("/b/p1/disk0.pvhd", "image");
    images.add("/b/p1/disk1.pvhd", "image");
    world.controller = std::make_shared<ZPKUIDaemonController>(
        ZPKDaemonControllerEnvironment{world.transport, world.notificationCenter, world.loop,
                                       [this]() -> ZPKDaemon& {
                                         if (!world.daemon)
                                           world.daemon = std::make_unique<ZPKDaemon>(world.environment());
                                         return *world.daemon;
                                       }},
        ZPKUIDaemonControllerEnvironment{.localization = world.texts,
                                         .fileManager = world.files,
                                         .workspace = world.workspace,
                                         .imageLoader = world.images,
                                         .backupDateFormatter = world.dates,
                                         .log = world.log,
                                         .tasks = world.tasks,
                                         .mounter = &mounter});
    world.controller->setMainWindow(&world.sheets);
    world.controller->awakeFromNib();
    world.launch();
    Dictionary status = readyStatus();
    status.set("archiveDescription", std::shared_ptr<const Record>(archiveOf({point("/b/p0"), point("/b/p1")})));
    world.push(status);
  }

  static std::shared_ptr<const RLDArchiveItem> point(const std::string& folder) {
    return std::make_shared<RLDArchiveItem>(RLDArchiveItem::Fields{.indexFilePath = folder + "/index.json"});
  }
  ZPKUIDaemonController& ui() { return *world.controller; }
  std::vector<std::string> attached() const {
    std::vector<std::string> paths;
    for (const Bytes& request : driver.requests) paths.emplace_back(reinterpret_cast<const char*>(&request[32]));
    return paths;
  }

  DriverWorld driver;
  MemoryFileManager images;
  RecordingLog qrxLog;
  ImmediateQueue background;
  VolumesWorld volumes;
  BackupPointMounter mounter{{driver, images, qrxLog, background, volumes.environment()}};
  ControllerWorld world;
};

TEST_F(Mounting, DoesNothingWithoutASelection) {
  ui().mountArcItem();
  EXPECT_THAT(attached(), IsEmpty());
  EXPECT_EQ(ui().modalSession(), modalsession::kNone);
}

TEST_F(Mounting, ASelectionBeyondTheListIsNone) {
  ui().setSelectedArcItemsIndexes({7});
  ui().mountArcItem();
  EXPECT_THAT(attached(), IsEmpty());
}

TEST_F(Mounting, AttachesTheImagesOfTheFirstSelectedPointOnly) {
  ui().setSelectedArcItemsIndexes({0, 1});
  ui().mountArcItem();
  EXPECT_THAT(attached(), ElementsAre("/b/p0/disk0.pvhd"));
  EXPECT_EQ(ui().modalSession(), modalsession::kNone);
}

TEST_F(Mounting, AFailingImagePutsItsTextIntoTheErrorSheet) {
  driver.installed = false;
  ui().setSelectedArcItemsIndexes({0});
  ui().mountArcItem();
  EXPECT_EQ(ui().errorDescription(), "QRX API Error.");
  EXPECT_EQ(ui().modalSession(), modalsession::kError);
  EXPECT_EQ(world.sheets.begun, 1);
}

TEST_F(Mounting, OfSeveralFailingImagesTheSheetShowsTheLast) {
  driver.completions = {{.result = 5, .errorMessage = "the first"}, {.result = 5, .errorMessage = "the last"}};
  ui().setSelectedArcItemsIndexes({1});
  ui().mountArcItem();
  EXPECT_THAT(attached(), ElementsAre("/b/p1/disk0.pvhd", "/b/p1/disk1.pvhd"));
  EXPECT_EQ(ui().errorDescription(), "the last");
  EXPECT_EQ(world.sheets.begun, 2);
  EXPECT_EQ(world.sheets.ended, 1);
}

TEST_F(Mounting, AnErrorOfTheFirstImageStaysWhenTheSecondIsAttached) {
  driver.completions = {{.result = 5, .errorMessage = "the first"}, {}};
  ui().setSelectedArcItemsIndexes({1});
  ui().mountArcItem();
  EXPECT_EQ(ui().errorDescription(), "the first");
  EXPECT_EQ(ui().modalSession(), modalsession::kError);
}

TEST_F(Mounting, OpensTheMountedVolumes) {
  driver.addDevice("000102030405060708090A0B0C0D0E0F")->addMedium("disk4s2");
  volumes.mount("/dev/disk4s2", "/Volumes/WINDOWS");
  ui().setSelectedArcItemsIndexes({0});
  ui().mountArcItem();
  EXPECT_THAT(volumes.workspace.opened, ElementsAre("/Volumes/WINDOWS"));
}

TEST_F(Mounting, IsOfferedForOneSelectedPoint) {
  EXPECT_EQ(openObstacle(ui()), Obstacle::nothingSelected);
  ui().setSelectedArcItemsIndexes({1});
  EXPECT_EQ(openObstacle(ui()), std::nullopt);
  ui().setSelectedArcItemsIndexes({0, 1});
  EXPECT_EQ(openObstacle(ui()), Obstacle::severalSelected);
}

TEST_F(Mounting, IsNotOfferedWhileAnOperationRuns) {
  ui().setSelectedArcItemsIndexes({1});
  world.push(backupStatus(10, {}));
  EXPECT_EQ(openObstacle(ui()), Obstacle::operationRuns);
}

}  // namespace
}  // namespace zpk
