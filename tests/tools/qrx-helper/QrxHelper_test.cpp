// A real backup point, attached by the real client through the real helper.
#include <fcntl.h>
#include <signal.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include "helper/archive/ImageFileUse.h"
#include "helper/archive/PointsWorld.h"
#include "mount/AttachedDrives.h"
#include "mount/virtualdisk/QrxCreateDrive.h"
#include "platform/linux/MountTable_linux.h"
#include "platform/linux/virtualdisk/LinuxDriveControl.h"
#include "platform/linux/virtualdisk/LinuxVirtualDiskDriver.h"
#include "platform/posix/PollRunLoop.h"
#include "support/ImmediateQueue.h"

namespace zpk::test {
namespace {

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

bool within(std::chrono::seconds patience, const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

// Every plain file below a folder. The folder of lost clusters and the like are the driver's own.
Files filesIn(const std::string& root) {
  Files files;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (entry.is_regular_file()) files[fs::relative(entry.path(), root).string()] = readAll(entry.path().string());
  }
  return files;
}

// An archive with one full point, and a runtime folder that the helper of the build looks for drives in.
class QrxHelper : public PointsWorld {
 protected:
  QrxHelper() {
    fs::create_directory(runtime);
    fs::permissions(runtime, fs::perms::owner_all);
    ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  }
  ~QrxHelper() override {
    for (const pid_t helper : helpers) {
      ::kill(helper, SIGTERM);
      ::waitpid(helper, nullptr, 0);
    }
    EXPECT_TRUE(within(std::chrono::seconds(20), [this] { return mounts().empty(); }));
  }

  std::int32_t attach(const std::string& image) {
    QrxDriveRequest request{};
    request.flags = 1;
    setImagePath(request, image);
    const QrxLogCallback note = [this](int level, const char* text) {
      (level == kQrxLevelResult ? devices : messages) += text;
    };
    const auto result = qrxCreateDrive(driver, request, note, &why, nullptr);
    const auto said = messages.rfind("pid = ");
    if (said != std::string::npos) helpers.push_back(std::stoi(messages.substr(said + 6)));
    return result;
  }
  std::vector<Mount> mounts() const {
    std::vector<Mount> ours;
    for (const Mount& mount : LinuxMountTable().mounts()) {
      if (mount.mountPoint.starts_with(runtime)) ours.push_back(mount);
    }
    return ours;
  }
  std::string drivesPath() const { return runtime + "/zpk/drives"; }
  bool noDriveIsLeft() const { return fs::is_empty(drivesPath()); }

  const std::string runtime = folder / "run";
  PollRunLoop loop;
  ImmediateQueue queue;
  LinuxVirtualDiskDriver driver{{loop, loop, ZPK_QRX_HELPER_FOLDER, runtime}};
  QrxErrorText why{};
  std::string messages;
  std::string devices;
  std::vector<pid_t> helpers;
};

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

// The processes that an image is open in.
std::vector<pid_t> usersOf(const std::string& path) {
  std::vector<pid_t> users;
  std::error_code error;
  for (const auto& process : fs::directory_iterator("/proc")) {
    const std::string name = process.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    for (fs::directory_iterator file(process.path() / "fd", error), end; !error && file != end;
         file.increment(error)) {
      if (fs::read_symlink(file->path(), error) != path) continue;
      users.push_back(std::stoi(name));
      break;
    }
  }
  return users;
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

std::string statusOf(pid_t process, const std::string& field) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field + ":\t")) return line.substr(field.size() + 2);
  }
  return "no " + field;
}

std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const auto& process : fs::directory_iterator("/proc")) {
    const std::string name = process.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    if (statusOf(std::stoi(name), "PPid") == std::to_string(parent)) children.push_back(std::stoi(name));
  }
  return children;
}

TEST_F(QrxHelper, WhatReadsTheVolumeIsConfined) {
  ASSERT_EQ(attach(imagePath(0)), 0) << why.data() << messages;
  int readers = 0;
  for (const pid_t reader : usersOf(imagePath(0))) {
    if (reader == helpers.front()) continue;
    ++readers;
    EXPECT_EQ(statusOf(reader, "NoNewPrivs"), "1");
    EXPECT_EQ(statusOf(reader, "Seccomp"), "2");
    EXPECT_EQ(statusOf(reader, "CapEff"), "0000000000000000");
    EXPECT_EQ(statusOf(reader, "CapPrm"), "0000000000000000");
  }
  EXPECT_EQ(readers, 1);
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
