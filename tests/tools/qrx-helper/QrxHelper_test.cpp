// A real backup point, attached by the real client through the real helper.
#include "tools/qrx-helper/QrxHelperWorld.h"

#include "helper/archive/ImageFileUse.h"

namespace zpk::test {
namespace {

TEST_F(QrxHelper, ShowsTheFilesOfThePointAndNothingCanBeChanged) {
  Files expected;
  disk.change([&](const std::string& root) { expected = filesIn(root); });
  ASSERT_GT(expected.size(), 100U);

  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  EXPECT_EQ(devices, "/dev/disk4\n/dev/disk4s3\n/dev/disk4s4\n");
  ASSERT_EQ(mounts().size(), 1U);
  const Mount mount = mounts().front();
  EXPECT_EQ(mount.device, "/dev/disk4s4");
  EXPECT_EQ(mount.fileSystemType, "fuse.ntfs");
  EXPECT_EQ(filesIn(mount.mountPoint), expected);

  struct statvfs space = {};
  ASSERT_EQ(::statvfs(mount.mountPoint.c_str(), &space), 0);
  constexpr unsigned long kWanted = ST_RDONLY | ST_NOSUID | ST_NODEV | ST_NOEXEC;
  EXPECT_EQ(space.f_flag & kWanted, kWanted);
  EXPECT_LT(::open((mount.mountPoint + "/new").c_str(), O_WRONLY | O_CREAT, 0600), 0);
  EXPECT_EQ(errno, EROFS);

  ::kill(helpers.front(), SIGTERM);
  EXPECT_TRUE(within(std::chrono::seconds(20), [this] { return noDriveIsLeft(); }));
  EXPECT_TRUE(mounts().empty());
}

TEST_F(QrxHelper, AnIncrementReadsThroughTheImagesThatItBuildsOn) {
  changeSomeFiles();
  makePoint();
  Files expected;
  disk.change([&](const std::string& root) { expected = filesIn(root); });
  ASSERT_EQ(attach(imagePath(1)), 0) << why.data() << messages;
  ASSERT_EQ(mounts().size(), 1U);
  EXPECT_EQ(filesIn(mounts().front().mountPoint), expected);
}

TEST_F(QrxHelper, TheDriveIsGoneOnceItsVolumeIsUnmounted) {
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  ASSERT_EQ(mounts().size(), 1U);
  const FileDescriptor image(::open(imagePath(0).c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_TRUE(isOpenElsewhere(image));
  mustRun("/usr/bin/fusermount3", {"-u", mounts().front().mountPoint});
  EXPECT_TRUE(within(std::chrono::seconds(20), [this] { return noDriveIsLeft(); }));
  EXPECT_FALSE(isOpenElsewhere(image));
}

TEST_F(QrxHelper, VolumesEndWithAHelperThatIsKilled) {
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  ::kill(helpers.front(), SIGKILL);
  EXPECT_TRUE(within(std::chrono::seconds(20), [this] { return mounts().empty(); }));
  EXPECT_TRUE(driver.matchingServices({"com_tarnwick_qrx_block_device"})->empty());
}

TEST_F(QrxHelper, ADriveWhoseVolumeProcessIsKilledIsLostAndItsMountGone) {
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  bool killed = false;
  for (const pid_t user : usersOf(imagePath(0))) {
    if (user == helpers.front()) continue;
    ::kill(user, SIGKILL);
    killed = true;
  }
  ASSERT_TRUE(killed);
  EXPECT_TRUE(within(std::chrono::seconds(20), [this] { return mounts().empty(); }));
  LinuxDriveControl control(loop, queue, runtime);
  EXPECT_TRUE(within(std::chrono::seconds(20), [&] { return control.attachedDrives().empty(); }));
  const auto left = allDrives(drivesPath());
  ASSERT_EQ(left.size(), 1U);
  EXPECT_TRUE(within(std::chrono::seconds(20), [&] { return control.hasRemains(left.front().id()); }));
  control.removeAllRemains();
  EXPECT_TRUE(noDriveIsLeft());
}

TEST_F(QrxHelper, WhenBothItsProcessesAreKilledItsMountGoesAllTheSame) {
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  std::vector<pid_t> both = usersOf(imagePath(0));
  both.push_back(helpers.front());
  ASSERT_EQ(both.size(), 2U);
  for (const pid_t user : both) ::kill(user, SIGSTOP);
  for (const pid_t user : both) ::kill(user, SIGKILL);
  EXPECT_TRUE(within(std::chrono::seconds(20), [this] { return mounts().empty(); }));
}

// After a crash of all its processes, as the next start finds it.
TEST_F(QrxHelper, ADeadMountIsCleanedAwayAndALiveOneStays) {
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  std::vector<pid_t> first = childrenOf(helpers.front());
  first.push_back(helpers.front());
  ASSERT_EQ(first.size(), 3U);
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  for (const pid_t process : first) ::kill(process, SIGSTOP);
  for (const pid_t process : first) ::kill(process, SIGKILL);
  LinuxDriveControl control(loop, queue, runtime);
  ASSERT_TRUE(within(std::chrono::seconds(20), [&] { return control.attachedDrives().size() == 1; }));
  EXPECT_EQ(mounts().size(), 2U);
  control.removeAllRemains();
  ASSERT_EQ(mounts().size(), 1U);
  EXPECT_EQ(allDrives(drivesPath()).size(), 1U);
  EXPECT_FALSE(filesIn(mounts().front().mountPoint).empty());
}

TEST_F(QrxHelper, AnImageThatCannotBeAttachedLeavesNothing) {
  EXPECT_NE(attach(filePath(0, "disk0.map")), 0);
  EXPECT_TRUE(within(std::chrono::seconds(20), [this] { return noDriveIsLeft(); }));
}

TEST_F(QrxHelper, ADriveThatIsInUseIsDetachedAllTheSame) {
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  const FileDescriptor user(::open(mounts().front().mountPoint.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ASSERT_TRUE(user);
  LinuxDriveControl control(loop, queue, runtime);
  control.detach(control.attachedDrives().front().id);
  EXPECT_TRUE(within(std::chrono::seconds(20), [this] { return mounts().empty() && noDriveIsLeft(); }));
}

std::size_t openDescriptors() {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

TEST_F(QrxHelper, OpenedAndClosedManyTimesLeavesNothingBehind) {
  LinuxDriveControl control(loop, queue, runtime);
  AttachedDrives drives(control, loop);
  drives.start();
  std::size_t descriptors = 0;
  constexpr int kTimes = 50;
  for (int time = 0; time < kTimes; ++time) {
    ASSERT_EQ(attach(imagePath(0)), 0) << time << why.data() << messages;
    bool closed = false;
    while (drives.drives().empty()) loop.runFor(Seconds(0.005));
    drives.closeAll([&] { closed = true; });
    while (!closed) loop.runFor(Seconds(0.005));
    // The driver's own look at its helper comes in the same turns.
    ASSERT_TRUE(within(std::chrono::seconds(20), [&] {
      loop.runFor(Seconds(0.001));
      return ::kill(helpers.back(), 0) != 0;
    }));
    helpers.clear();
    messages.clear();
    if (time == 0) descriptors = openDescriptors();
  }
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_TRUE(mounts().empty());
  EXPECT_TRUE(noDriveIsLeft());
  EXPECT_TRUE(usersOf(imagePath(0)).empty());
  EXPECT_EQ(processesNaming(runtime), std::vector<std::string>());
}

TEST_F(QrxHelper, TwoDrivesHaveNumbersOfTheirOwn) {
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  devices.clear();
  EXPECT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  EXPECT_THAT(devices, testing::StartsWith("/dev/disk5\n"));
  EXPECT_EQ(mounts().size(), 2U);
}

TEST_F(QrxHelper, AFileThatIsNoImageOfAPointIsRefusedInWords) {
  EXPECT_NE(attach(disk.path()), 0);
  EXPECT_THAT(std::string(why.data()), testing::Not(testing::IsEmpty()));
  EXPECT_NE(attach(filePath(0, "disk0.map")), 0);
  EXPECT_THAT(std::string(why.data()), testing::StartsWith("The file is no disk image of a backup point"));
  EXPECT_TRUE(devices.empty());
}

// What the archive's own reader finds damaged never shows as a file's content.
TEST_F(QrxHelper, DamageIsAnErrorAndNeverWrongBytes) {
  Files expected;
  disk.change([&](const std::string& root) { expected = filesIn(root); });
  const auto size = fs::file_size(imagePath(0));
  {
    const FileDescriptor image(::open(imagePath(0).c_str(), O_WRONLY | O_CLOEXEC));
    const std::string noise(4096, 'x');
    for (std::uint64_t at = size / 3; at + noise.size() < size; at += 65'536)
      ASSERT_EQ(::pwrite(image.get(), noise.data(), noise.size(), static_cast<off_t>(at)), 4096);
  }
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  ASSERT_EQ(mounts().size(), 1U);
  std::size_t unreadable = 0;
  for (const auto& [name, content] : expected) {
    std::ifstream file(mounts().front().mountPoint + "/" + name, std::ios::binary);
    std::string got(content.size(), '\0');
    if (file.read(got.data(), static_cast<std::streamsize>(got.size())))
      EXPECT_EQ(got, content) << name;
    else
      ++unreadable;
  }
  EXPECT_GT(unreadable, 0U);
}

}  // namespace
}  // namespace zpk::test
