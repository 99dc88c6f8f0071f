#include "mount/BackupPointMounter.h"

#include <functional>
#include <memory>

#include "mount/DriverWorld.h"
#include "mount/VolumesWorld.h"
#include "support/MemoryFileManager.h"
#include "support/RecordingLog.h"

namespace zpk {
namespace {

using std::string;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kId = "000102030405060708090A0B0C0D0E0F";
constexpr const char* kPoint = "/b/pc.rldbackup/p0001-1f2e3d4c";

// Keeps the work until it is asked for.
struct PatientQueue final : DispatchQueue {
  void async(std::function<void()> work) override { works.push_back(std::move(work)); }
  std::vector<std::function<void()>> works;
};

// A backup point in a folder, a driver, a desktop.
struct MounterWorld {
  MounterWorld() { files.addFolder(kPoint); }

  void addFile(const string& name) { files.add(string(kPoint) + "/" + name, "content"); }
  void mountPoint(std::optional<string> indexFilePath = string(kPoint) + "/index.json") {
    const RLDArchiveItem item({.indexFilePath = std::move(indexFilePath)});
    mounter.mountArcItem(item, [this](const string& text) { errors.push_back(text); });
  }
  void runBackground() {
    for (const auto& work : std::exchange(background.works, {})) work();
  }
  // The paths of the images that were asked for, in order.
  std::vector<string> attached() const {
    std::vector<string> paths;
    for (const Bytes& request : driver.requests) paths.emplace_back(reinterpret_cast<const char*>(&request[32]));
    return paths;
  }

  MemoryFileManager files;
  RecordingLog log;
  PatientQueue background;
  VolumesWorld volumes;
  DriverWorld driver;
  std::vector<string> errors;
  BackupPointMounter mounter{{driver, files, log, background, volumes.environment()}};
};

TEST(BackupPointMounter, AttachesTheImageAndOpensItsMountedVolume) {
  MounterWorld world;
  world.addFile("disk0.pvhd");
  world.driver.addDevice(kId)->addMedium("disk4")->addMedium("disk4s2");
  world.volumes.mount("/dev/disk4s2", "/Volumes/WINDOWS", 2);
  world.volumes.mount("/dev/disk4", "/Volumes/whole");
  world.mountPoint();
  EXPECT_THAT(world.attached(), ElementsAre(string(kPoint) + "/disk0.pvhd"));
  EXPECT_THAT(world.volumes.workspace.opened, IsEmpty());
  world.runBackground();
  EXPECT_THAT(world.volumes.workspace.opened, ElementsAre("/Volumes/WINDOWS"));
  EXPECT_THAT(world.errors, IsEmpty());
}

TEST(BackupPointMounter, FillsInTheRequest) {
  MounterWorld world;
  world.addFile("disk0.pvhd");
  world.mountPoint();
  ASSERT_EQ(world.driver.requests.size(), 1U);
  Bytes golden(1056);
  golden[8] = 1;      // flags
  golden[16] = 0xF5;  // uid 501
  golden[17] = 0x01;
  const string path = string(kPoint) + "/disk0.pvhd";
  std::copy(path.begin(), path.end(), golden.begin() + 32);
  EXPECT_EQ(world.driver.requests.front(), golden);
}

TEST(BackupPointMounter, AttachesOneImageAfterTheOtherAndOpensTheVolumesOfEachOnTheirOwn) {
  MounterWorld world;
  world.addFile("disk1.pvhd");
  world.addFile("disk0.pvhd");
  world.driver.addDevice(kId)->addMedium("disk4s2");
  world.mountPoint();
  EXPECT_THAT(world.attached(), ElementsAre(string(kPoint) + "/disk0.pvhd", string(kPoint) + "/disk1.pvhd"));
  EXPECT_EQ(world.background.works.size(), 2U);
  world.volumes.mount("/dev/disk4s2", "/Volumes/WINDOWS");
  world.runBackground();
  EXPECT_THAT(world.volumes.workspace.opened, ElementsAre("/Volumes/WINDOWS", "/Volumes/WINDOWS"));
}

TEST(BackupPointMounter, ConsidersNothingButThatKindOfImage) {
  MounterWorld world;
  for (const char* name : {"a.vhd", "b.vmdk", "c.PVHD", "d.pvhd.part", "pvhd", ".pvhd", "disk0.map", "index.json"})
    world.addFile(name);
  world.mountPoint();
  EXPECT_THAT(world.attached(), IsEmpty());
  EXPECT_THAT(world.errors, IsEmpty());
  EXPECT_THAT(world.log.lines(), IsEmpty());
  EXPECT_THAT(world.background.works, IsEmpty());
}

TEST(BackupPointMounter, ImagesInFoldersBelowAreNotConsidered) {
  MounterWorld world;
  world.files.addFolder(string(kPoint) + "/more");
  world.addFile("more/disk0.pvhd");
  world.mountPoint();
  EXPECT_THAT(world.attached(), IsEmpty());
}

TEST(BackupPointMounter, DoesNothingForAPointWithoutAFolderToLookIn) {
  MounterWorld world;
  world.addFile("disk0.pvhd");
  world.mountPoint(std::nullopt);
  world.mountPoint("");
  world.mountPoint("index.json");
  world.mountPoint("/gone/index.json");
  world.files.failAt(kPoint, "Permission denied");
  world.mountPoint();
  EXPECT_THAT(world.attached(), IsEmpty());
  EXPECT_THAT(world.errors, IsEmpty());
}

TEST(BackupPointMounter, APointAtTheRootHasItsImagesThere) {
  MounterWorld world;
  world.files.add("/disk0.pvhd", "content");
  world.mountPoint("/index.json");
  EXPECT_THAT(world.attached(), ElementsAre("/disk0.pvhd"));
}

TEST(BackupPointMounter, ReportsAnImageThatCannotBeAttachedAndTriesTheOthers) {
  MounterWorld world;
  world.addFile("disk0.pvhd");
  world.addFile("disk1.pvhd");
  world.addFile("disk2.pvhd");
  world.driver.addDevice(kId)->addMedium("disk4s2");
  world.driver.completions = {{.result = 5, .errorMessage = "first"}, {}, {.result = 5, .errorMessage = "third"}};
  world.mountPoint();
  EXPECT_EQ(world.attached().size(), 3U);
  EXPECT_THAT(world.errors, ElementsAre("first", "third"));
  EXPECT_EQ(world.background.works.size(), 1U);
}

TEST(BackupPointMounter, ReportsThatThereIsNoDriver) {
  MounterWorld world;
  world.driver.installed = false;
  world.addFile("disk0.pvhd");
  world.mountPoint();
  EXPECT_THAT(world.errors, ElementsAre("QRX API Error."));
  EXPECT_THAT(world.log.lines(), ElementsAre("ZPKUI::QRX(1): \"Kext com.tarnwick.kext.QrxMounter not found.\n\""));
}

TEST(BackupPointMounter, LogsEverythingWithItsLevel) {
  MounterWorld world;
  world.addFile("disk0.pvhd");
  world.driver.addDevice(kId)->addMedium("disk4");
  world.mountPoint();
  EXPECT_EQ(world.log.lines().front(), "ZPKUI::QRX(1): \"Looking for QRX Contoller...\n\"");
  EXPECT_THAT(world.log.lines(), Contains("ZPKUI::QRX(0): \"/dev/disk4\n\""));
}

TEST(BackupPointMounter, AWholeDiskOpensNothing) {
  MounterWorld world;
  world.addFile("disk0.pvhd");
  world.driver.addDevice(kId)->addMedium("disk4");
  world.volumes.mount("/dev/disk4", "/Volumes/whole");
  world.mountPoint();
  world.runBackground();
  EXPECT_THAT(world.volumes.workspace.opened, IsEmpty());
  EXPECT_EQ(world.volumes.table.looks, 0);
  EXPECT_THAT(world.errors, IsEmpty());
}

TEST(BackupPointMounter, DevicesOfAFailedImageAreNotOpenedWithTheNext) {
  MounterWorld world;
  world.addFile("disk0.pvhd");
  world.addFile("disk1.pvhd");
  world.driver.callCode = 5;
  world.driver.addDevice("")->addMedium("disk7s1");  // found by the wait of a refused attach
  world.volumes.mount("/dev/disk7s1", "/Volumes/other");
  world.mountPoint();
  EXPECT_THAT(world.log.lines(), Contains("ZPKUI::QRX(0): \"/dev/disk7s1\n\""));
  world.runBackground();
  EXPECT_THAT(world.volumes.workspace.opened, IsEmpty());
}

TEST(BackupPointMounter, AnImageWithoutNoticeIsNoError) {
  MounterWorld world;
  world.addFile("disk0.pvhd");
  world.driver.completions.clear();
  world.mountPoint();
  EXPECT_THAT(world.errors, IsEmpty());
  EXPECT_EQ(world.background.works.size(), 1U);
}

}  // namespace
}  // namespace zpk
