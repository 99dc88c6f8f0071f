// Drives whose helpers are children of the test's, without volumes.
#include "platform/linux/virtualdisk/LinuxDriveControl.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>

#include "platform/linux/virtualdisk/DriveRemains.h"
#include "platform/posix/PollRunLoop.h"
#include "support/ImmediateQueue.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using std::string;
using testing::ElementsAre;
using testing::IsEmpty;

const string kFirst(32, 'A');
const string kSecond(32, 'B');

class DriveControlOfLinux : public testing::Test {
 protected:
  ~DriveControlOfLinux() override {
    for (const auto& [id, process] : helpers) {
      ::kill(process, SIGKILL);
      ::waitpid(process, nullptr, 0);
    }
  }

  DriveFolder drive(const string& id) const { return {*drivesFolder(runtime.path()), id}; }
  // The request, as the driver leaves it for the helper.
  DriveFolder request(const string& id) const {
    QrxDriveRequest request{};
    setImagePath(request, "/b/" + id.substr(0, 1) + ".pvhd");
    EXPECT_TRUE(drive(id).create(request).hasValue());
    return drive(id);
  }
  // A helper that keeps the drive until it is told to end, and then leaves nothing behind.
  void keep(const string& id, std::int32_t result = 0) {
    const DriveFolder made = request(id);
    int ready[2];
    ASSERT_EQ(::pipe2(ready, O_CLOEXEC), 0);
    const FileDescriptor reading(ready[0]);
    FileDescriptor writing(ready[1]);
    const pid_t process = ::fork();
    if (process == 0) keepDrive(made, result, writing.get());
    helpers[id] = process;
    writing.reset();
    char byte = 0;
    ASSERT_EQ(::read(reading.get(), &byte, 1), 1);
  }
  [[noreturn]] static void keepDrive(const DriveFolder& drive, std::int32_t result, int ready) {
    sigset_t ending;
    ::sigemptyset(&ending);
    ::sigaddset(&ending, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &ending, nullptr);
    const int lock = ::open(drive.filePath("request").c_str(), O_RDONLY | O_CLOEXEC);
    if (::flock(lock, LOCK_EX | LOCK_NB) != 0 || !drive.saveKeeper(::getpid())) ::_exit(1);
    if (!drive.saveCompletion({result, {}}) || ::write(ready, "+", 1) != 1) ::_exit(1);
    ::sigwaitinfo(&ending, nullptr);
    removeDrive(drive);
    ::_exit(0);
  }
  void kill(const string& id) {
    ::kill(helpers[id], SIGKILL);
    ::waitpid(helpers[id], nullptr, 0);
    helpers.erase(id);
  }

  // Serves the loop until it has been told of a change after which there are so many.
  bool awaitDrives(std::size_t count) {
    const Seconds end = loop.now() + Seconds(20);
    while (control.attachedDrives().size() != count || !told) {
      if (loop.now() > end) return false;
      loop.runFor(Seconds(0.01));
    }
    told = false;
    return true;
  }
  std::vector<string> idsNow() {
    std::vector<string> ids;
    for (const AttachedDrive& attached : control.attachedDrives()) ids.push_back(attached.id);
    return ids;
  }
  bool isThere(const string& id) const { return std::filesystem::exists(drive(id).path()); }

  TemporaryFolder runtime;
  PollRunLoop loop;
  ImmediateQueue queue;
  LinuxDriveControl control{loop, queue, runtime.path()};
  bool told = false;
  Token watch = control.watchDrives([this] { told = true; });
  std::map<string, pid_t> helpers;
};

TEST_F(DriveControlOfLinux, TellsOfDrivesAsTheyComeAndGo) {
  EXPECT_THAT(idsNow(), IsEmpty());
  keep(kFirst);
  EXPECT_TRUE(awaitDrives(1));
  keep(kSecond);
  EXPECT_TRUE(awaitDrives(2));
  EXPECT_THAT(control.attachedDrives(),
              ElementsAre(AttachedDrive{kFirst, "/b/A.pvhd"}, AttachedDrive{kSecond, "/b/B.pvhd"}));
  control.detach(kFirst);
  EXPECT_TRUE(awaitDrives(1));
  EXPECT_THAT(idsNow(), ElementsAre(kSecond));
  EXPECT_FALSE(isThere(kFirst));
  EXPECT_FALSE(control.hasRemains(kFirst));
}

TEST_F(DriveControlOfLinux, TellsOfTheEndOfAHelperThatWasThereBefore) {
  keep(kFirst);
  LinuxDriveControl later(loop, queue, runtime.path());
  bool laterTold = false;
  const Token laterWatch = later.watchDrives([&] { laterTold = true; });
  EXPECT_EQ(later.attachedDrives().size(), 1U);
  kill(kFirst);
  const Seconds end = loop.now() + Seconds(20);
  while (!laterTold && loop.now() < end) loop.runFor(Seconds(0.01));
  EXPECT_TRUE(laterTold);
  EXPECT_THAT(later.attachedDrives(), IsEmpty());
}

TEST_F(DriveControlOfLinux, AKilledHelperLeavesRemainsThatCanBeRemoved) {
  keep(kFirst);
  ASSERT_TRUE(awaitDrives(1));
  EXPECT_FALSE(control.hasRemains(kFirst));
  kill(kFirst);
  EXPECT_TRUE(awaitDrives(0));
  EXPECT_TRUE(control.hasRemains(kFirst));
  control.remove(kFirst);
  EXPECT_FALSE(isThere(kFirst));
  EXPECT_FALSE(control.hasRemains(kFirst));
}

TEST_F(DriveControlOfLinux, WhatAHelperWasWritingWhenItWasKilledGoesToo) {
  keep(kFirst);
  for (const char* name : {"media.new", "completion.new"}) {
    const FileDescriptor unfinished(::open(drive(kFirst).filePath(name).c_str(), O_WRONLY | O_CREAT, 0600));
    ASSERT_TRUE(unfinished);
  }
  EXPECT_TRUE(drive(kFirst).saveCompletion({0, {}}));
  kill(kFirst);
  control.remove(kFirst);
  EXPECT_FALSE(std::filesystem::exists(drive(kFirst).path()));
}

TEST_F(DriveControlOfLinux, RemovingKillsAHelperThatDoesNotEnd) {
  keep(kFirst);
  ASSERT_TRUE(awaitDrives(1));
  ::kill(helpers[kFirst], SIGSTOP);
  control.detach(kFirst);
  EXPECT_EQ(control.attachedDrives().size(), 1U);
  control.remove(kFirst);
  EXPECT_TRUE(awaitDrives(0));
  EXPECT_FALSE(isThere(kFirst));
}

TEST_F(DriveControlOfLinux, OfAllDrivesOnlyTheAbandonedOnesAreCleanedAway) {
  keep(kFirst);
  keep(kSecond);
  const string starting(32, 'C');
  const string refused(32, 'D');
  request(starting);
  keep(refused, EIO);
  kill(refused);
  kill(kSecond);
  control.removeAllRemains();
  EXPECT_TRUE(isThere(kFirst));
  EXPECT_FALSE(isThere(kSecond));
  EXPECT_TRUE(isThere(starting));
  EXPECT_TRUE(isThere(refused)) << "whoever asked for it may not have read why";
  const auto longAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
  for (const string& id : {starting, refused}) std::filesystem::last_write_time(drive(id).path(), longAgo);
  control.removeAllRemains();
  EXPECT_FALSE(isThere(starting));
  EXPECT_FALSE(isThere(refused));
}

// Numbers are used again: the one in the file may be anybody's by now.
TEST_F(DriveControlOfLinux, AProcessWithoutTheLockIsLeftAlone) {
  const DriveFolder made = request(kFirst);
  const pid_t bystander = ::fork();
  if (bystander == 0) {
    ::pause();
    ::_exit(0);
  }
  helpers[kFirst] = bystander;
  ASSERT_TRUE(made.saveKeeper(bystander));
  control.detach(kFirst);
  control.remove(kFirst);
  EXPECT_EQ(::waitpid(bystander, nullptr, WNOHANG), 0);
}

TEST_F(DriveControlOfLinux, AKeeperIsANumberOfAProcessAndNothingElse) {
  const DriveFolder made = request(kFirst);
  EXPECT_FALSE(made.keeper());
  ASSERT_TRUE(made.saveKeeper(4711));
  EXPECT_EQ(made.keeper(), 4711);
  for (const char* text : {"", "0", "1", "-5", "12a", " 12", "99999999999", "4294967297"}) {
    runtime.put("zpk/drives/" + kFirst + "/keeper", text);
    EXPECT_FALSE(made.keeper()) << text;
  }
}

TEST_F(DriveControlOfLinux, WithoutARuntimeFolderThereAreNoDrives) {
  LinuxDriveControl homeless(loop, queue, "");
  const Token homelessWatch = homeless.watchDrives([] {});
  EXPECT_THAT(homeless.attachedDrives(), IsEmpty());
  homeless.detach(kFirst);
  homeless.remove(kFirst);
  homeless.removeAllRemains();
  EXPECT_FALSE(homeless.hasRemains(kFirst));
}

TEST_F(DriveControlOfLinux, AnIdThatIsNoneReachesNoFolder) {
  EXPECT_FALSE(control.hasRemains("../../.."));
  control.remove("../..");
  EXPECT_TRUE(std::filesystem::exists(runtime.path()));
}

}  // namespace
}  // namespace zpk
