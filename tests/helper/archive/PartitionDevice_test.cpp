// How the file-system tools get to see a partition, with and without rights over devices.

#include "helper/archive/PartitionDevice.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "helper/archive/SampleDisk.h"
#include "helper/archive/UserWorld.h"

namespace zpk {
namespace {

using test::SampleDisk;
using test::ScratchFolder;
using test::UserWorld;
using testing::HasSubstr;
using testing::StartsWith;

constexpr ByteRange kVolume{SampleDisk::volumeStart, SampleDisk::volumeStart + SampleDisk::volumeSize};

void ignoreProgress(std::uint64_t, std::uint64_t) {}

template <class Condition>
bool eventually(Condition condition) {
  for (int i = 0; i < 1000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

class PartitionDeviceTest : public testing::Test {
 protected:
  void SetUp() override {
    mine(folder.path());
    mine(disk.path());
  }

  static void mine(const std::string& path) {
    ASSERT_EQ(::chown(path.c_str(), UserWorld::nobody, UserWorld::nobody), 0) << "needs root";
  }

  ArchiveResult<PartitionDevice> attach() {
    ArchiveResult<DiskSource> source = DiskSource::open(disk.path());
    if (!source) return source.error();
    return PartitionDevice::attach(*source, kVolume, 512, exports, cancel);
  }

  // "good", or the reason.
  std::string backup(const std::string& name) {
    ArchiveResult<Archive> archive = Archive::create(folder / name, {"disk-id", "Sample", 1});
    if (!archive) return archive.error().text();
    BackupRequest request = disk.request();
    request.exportFolder = exports;
    const auto point = makeFullBackup(*archive, request, ignoreProgress, cancel);
    if (!std::filesystem::exists(exports)) return point ? "good, through a loop device" : point.error().text();
    if (!namesIn(exports).empty()) return "something is left behind";
    if (!point && !archive->index().points.empty()) return "there is a point all the same";
    return point ? "good" : point.error().text();
  }

  std::string imageIn(const std::string& name) const {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder / name)) {
      if (entry.path().filename() == "disk0.pvhd") return entry.path().string();
    }
    return {};
  }

  // A program in a tool's place.
  std::string script(const std::string& name, const std::string& text) const {
    test::writeAll(folder / name, "#!/bin/sh\n" + text + "\n");
    ::chmod((folder / name).c_str(), 0755);
    return folder / name;
  }

  ScratchFolder folder;
  SampleDisk disk{folder};
  CancelFlag cancel;
  const std::string exports = folder / "a folder, with a comma";
};

TEST_F(PartitionDeviceTest, IsALoopDeviceForWhoMayHaveOne) {
  const auto device = attach();
  ASSERT_TRUE(device.hasValue()) << device.error().text();
  EXPECT_THAT(device->path(), StartsWith("/dev/loop"));
  EXPECT_FALSE(std::filesystem::exists(exports));
  EXPECT_FALSE(device->loss().has_value());
}

TEST_F(PartitionDeviceTest, IsAFileWithThePartitionsBytesForAUserWithoutRights) {
  const std::string expected = test::readAll(folder / "volume.img");
  const auto look = [&]() -> std::string {
    const auto device = attach();
    if (!device) return device.error().text();
    if (!device->path().starts_with(exports)) return "it is at " + device->path();
    if (::open(device->path().c_str(), O_WRONLY) >= 0) return "it can be written";
    if (test::readAll(device->path()) != expected) return "its bytes are others";
    return device->loss() ? "lost" : "good";
  };
  const auto lookAndCheck = [&]() -> std::string {
    const std::string found = look();
    if (!namesIn(exports).empty()) return "something is left behind";
    struct stat status = {};
    ::stat(exports.c_str(), &status);
    return (status.st_mode & 077) == 0 ? found : "the folder is open to others";
  };
  EXPECT_EQ(UserWorld::withoutRights().run(lookAndCheck), "good");
}

TEST_F(PartitionDeviceTest, ABackupWithoutRightsHoldsWhatOneWithThemHolds) {
  EXPECT_EQ(backup("root.rldbackup"), "good, through a loop device");
  EXPECT_EQ(UserWorld::withoutRights().run([&] { return backup("user.rldbackup"); }), "good");
  EXPECT_THAT(test::mustRun("/usr/bin/qemu-img", {"compare", "-f", "qcow2", "-F", "qcow2",
                                                  imageIn("root.rldbackup"), imageIn("user.rldbackup")}),
              HasSubstr("Images are identical"));
  test::mustRun("/usr/bin/qemu-img",
                {"convert", "-f", "qcow2", "-O", "raw", imageIn("user.rldbackup"), folder / "back.raw"});
  EXPECT_TRUE(test::readAll(folder / "back.raw") == disk.expectedContent());
}

TEST_F(PartitionDeviceTest, RootWithoutLoopDevicesBacksUpImagesToo) {
  EXPECT_EQ(UserWorld(0).withoutLoopDevices().run([&] { return backup("a.rldbackup"); }), "good");
}

TEST_F(PartitionDeviceTest, TheToolsSeeThroughItWhatSpeaksAgainstABackup) {
  const UserWorld world = UserWorld::withoutRights();
  disk.markDirty();
  EXPECT_THAT(world.run([&] { return backup("dirty.rldbackup"); }), HasSubstr("not closed cleanly"));
  disk.change(
      [](const std::string& root) { test::writeAll(root + "/hiberfil.sys", "hibr" + std::string(8188, 'x')); });
  EXPECT_THAT(world.run([&] { return backup("asleep.rldbackup"); }), HasSubstr("hibernated"));
}

TEST_F(PartitionDeviceTest, WithoutAnyWayItSaysWhatToDo) {
  const std::string refusal = UserWorld(UserWorld::nobody).run([&] { return backup("a.rldbackup"); });
  EXPECT_THAT(refusal, HasSubstr("start it as root, or give its user access to FUSE"));
  const UserWorld lacking = UserWorld::withoutRights().with("/usr/bin/qemu-storage-daemon", "/dev/null");
  EXPECT_THAT(lacking.run([&] { return backup("b.rldbackup"); }),
              HasSubstr("install the package qemu-system-common"));
}

TEST_F(PartitionDeviceTest, WhatTheDaemonComplainsOfIsTold) {
  const UserWorld world = UserWorld::withoutRights().with("/usr/bin/qemu-storage-daemon",
                                                          script("daemon", "echo the moon is full >&2; exit 1"));
  EXPECT_THAT(world.run([&] { return backup("a.rldbackup"); }), HasSubstr("(the moon is full)"));
}

TEST_F(PartitionDeviceTest, AWishToStopIsHeardWhileTheDaemonIsNotReady) {
  const std::string started = folder / "started";
  const UserWorld world = UserWorld::withoutRights().with(
      "/usr/bin/qemu-storage-daemon", script("daemon", ": >'" + started + "'; exec sleep 1000"));
  const auto stopped = [&] {
    std::thread wish([&] {
      if (eventually([&] { return std::filesystem::exists(started); })) cancel.request();
    });
    const std::string result = backup("a.rldbackup");
    wish.join();
    return result;
  };
  EXPECT_EQ(world.run(stopped), "The operation was stopped");
}

TEST_F(PartitionDeviceTest, ADaemonThatDiesInTheMiddleEndsTheBackupWithThatReason) {
  // Else the volume would be called damaged, because the tools cannot read it any more.
  std::filesystem::copy("/usr/sbin/ntfsresize", folder / "ntfsresize");
  const std::string killer = script(
      "killer", "/usr/bin/pkill -KILL -P $PPID -x qemu-storage-da && exec '" + folder / "ntfsresize" + "' \"$@\"");
  const UserWorld world = UserWorld::withoutRights().with("/usr/sbin/ntfsresize", killer);
  EXPECT_THAT(world.run([&] { return backup("a.rldbackup"); }), HasSubstr("ended unexpectedly"));
}

TEST_F(PartitionDeviceTest, AWishToStopIsHeardWhileTheDaemonHangs) {
  std::filesystem::copy("/usr/bin/ntfscat", folder / "ntfscat");
  const UserWorld world = UserWorld::withoutRights().with(
      "/usr/bin/ntfscat", script("stopper", "/usr/bin/pkill -STOP -P $PPID -x qemu-storage-da && exec '" +
                                                folder / "ntfscat" + "' \"$@\""));
  const auto stopped = [&]() -> std::string {
    bool waits = false;
    std::thread wish([&] {
      waits = eventually([] { return test::isAnyChildStopped(); });
      cancel.request();
    });
    const std::string result = backup("a.rldbackup");
    wish.join();
    return waits ? result : "the daemon did not hang";
  };
  EXPECT_EQ(world.run(stopped), "The operation was stopped");
}

TEST_F(PartitionDeviceTest, IsTakenDownByItselfWhenTheHelperIsKilled) {
  const std::string note = folder / "path";
  const auto killed = [&]() -> std::string {
    const pid_t helper = ::fork();
    if (helper == 0) {
      const auto device = attach();
      if (device) test::writeAll(note, device->path());
      if (device) ::raise(SIGKILL);
      ::_exit(1);
    }
    int status = 0;
    ::waitpid(helper, &status, 0);
    const std::string path = test::readAll(note);
    if (path.empty()) return "it was not attached";
    if (!eventually([&] { return namesIn(exports).size() == 1 && ::unlink(path.c_str()) == 0; })) return "mounted";
    return "good";
  };
  EXPECT_EQ(UserWorld::withoutRights().run(killed), "good");
}

TEST_F(PartitionDeviceTest, WhatAKilledHelperAndDaemonLeaveIsTakenAwayAtTheNextStart) {
  const auto killed = [&]() -> std::string {
    const ArchiveResult<DiskSource> source = DiskSource::open(disk.path());
    auto served = FuseExport::make(*source, kVolume, exports, cancel);
    if (!served) return served.error().text();
    ::kill(served->daemon(), SIGKILL);
    if (!eventually([&] { return !served->isServing(); })) return "it lives";
    if (::access(served->path().c_str(), R_OK) == 0) return "it can still be read";
    clearExportFolder(exports);
    return namesIn(exports).empty() ? "good" : "it is still there";
  };
  EXPECT_EQ(UserWorld::withoutRights().run(killed), "good");
}

TEST_F(PartitionDeviceTest, ADaemonThatHangsDoesNotKeepTheNextStartWaiting) {
  const auto hanging = [&]() -> std::string {
    const ArchiveResult<DiskSource> source = DiskSource::open(disk.path());
    auto served = FuseExport::make(*source, kVolume, exports, cancel);
    if (!served) return served.error().text();
    ::kill(served->daemon(), SIGSTOP);
    clearExportFolder(exports);
    return namesIn(exports).empty() ? "good" : "it is still there";
  };
  EXPECT_EQ(UserWorld::withoutRights().run(hanging), "good");
}

}  // namespace
}  // namespace zpk
