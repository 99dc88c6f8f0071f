// Destinations that become full, or go away, in the middle of a backup or a merge.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "helper/archive/MergeWorld.h"
#include "helper/archive/PointCheck.h"
#include "support/Rounds.h"

namespace zpk {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

// A file system of its own, of which the archive is the only content.
class Destination : public test::MergeWorld {
 protected:
  ~Destination() override { ::umount2(mountPoint().c_str(), MNT_DETACH); }

  std::string mountPoint() const { return folder / "drive"; }
  std::string onDrive() const { return mountPoint() + "/a.rldbackup"; }

  // An archive of as many of the points, and `room` bytes.
  void mountDrive(std::size_t count, std::uint64_t room) {
    ::umount2(mountPoint().c_str(), MNT_DETACH);
    fs::create_directories(mountPoint());
    ASSERT_EQ(::mount("tmpfs", mountPoint().c_str(), "tmpfs", 0, "size=64m"), 0) << "it takes root";
    test::mustRun("/bin/cp", {"-a", path(), mountPoint()});
    if (count < points) cutTo(count);
    const fs::space_info space = fs::space(mountPoint());
    const std::string size = "size=" + std::to_string(space.capacity - space.available + room);
    ASSERT_EQ(::mount(nullptr, mountPoint().c_str(), nullptr, MS_REMOUNT, size.c_str()), 0);
  }
  ArchiveResult<Archive> openDrive() const { return Archive::openForWriting(onDrive()); }

  // Until nothing more can be written.
  void fillDrive() const {
    test::mustRun("/bin/sh", {"-c", "dd if=/dev/zero of=" + mountPoint() + "/fill bs=4k 2>&1; true"});
    ASSERT_EQ(fs::space(mountPoint()).available, 0U);
  }

  // Every point is what it was, or the newest one is what the disk is now; the count of them.
  std::size_t soundPoints() const {
    const ArchiveResult<Archive> archive = openDrive();
    EXPECT_TRUE(archive.hasValue()) << (archive ? "" : archive.error().text());
    if (!archive) return 0;
    EXPECT_EQ(archive->index().merging, std::nullopt);
    for (std::size_t i = 0; i < archive->index().points.size(); ++i) {
      const ArchiveResult<PointCheck> check = checkOwnImages(*archive, i, [](std::uint64_t) {}, {});
      EXPECT_TRUE(check.hasValue() && check->damaged.empty()) << "point " << i;
    }
    std::size_t folders = 0;
    for (const auto& entry : fs::directory_iterator(onDrive())) folders += entry.is_directory();
    EXPECT_EQ(folders, archive->index().points.size()) << "something is left over";
    return archive->index().points.size();
  }

 private:
  void cutTo(std::size_t count) const {
    ArchiveIndex index = Archive::openForReading(onDrive())->index();
    index.points.resize(count);
    test::writeAll(onDrive() + "/archive.json", textOf(index));
    EXPECT_TRUE(openDrive().hasValue());
  }
};

TEST_F(Destination, ThatIsFullAtAnySizeVoidsThePointAndNoOther) {
  // What the increment takes is about 1.5 MB; beyond it there is room.
  constexpr std::uint64_t most = 3'000'000;
  const std::size_t sizes = test::rounds("ZPK_FULL", 8);
  std::size_t full = 0;
  std::size_t made = 0;
  for (std::size_t i = 0; i < sizes && !HasFailure(); ++i) {
    mountDrive(2, most * i / sizes);
    bool isMade = false;
    {
      ArchiveResult<Archive> archive = openDrive();
      // Without a byte even the lock cannot be had; nothing is lost by it.
      if (!archive) {
        EXPECT_EQ(archive.error().fault, ArchiveFault::NoSpace) << archive.error().text();
        ++full;
        continue;
      }
      const ArchiveResult<MadePoint> point = makeBackup(*archive, request(), ignoreProgress, {});
      if (!point) {
        EXPECT_THAT(point.error().text(), HasSubstr("No space left on device"));
      }
      isMade = point.hasValue();
      ++(isMade ? made : full);
    }
    EXPECT_EQ(soundPoints(), isMade ? 3U : 2U) << "with " << most * i / sizes;
  }
  EXPECT_GT(full, 0U) << "the destination was never full";
  EXPECT_GT(made, 0U) << "the destination was always full";
}

TEST_F(Destination, ThatIsFullAtAnySizeLeavesBothPointsOfAMerge) {
  constexpr std::uint64_t most = 16'000'000;
  const std::size_t sizes = test::rounds("ZPK_FULL", 8);
  std::size_t full = 0;
  std::size_t merged = 0;
  for (std::size_t i = 0; i < sizes && !HasFailure(); ++i) {
    mountDrive(points, most * i / sizes);
    bool isMerged = false;
    {
      ArchiveResult<Archive> archive = openDrive();
      if (!archive) {
        EXPECT_EQ(archive.error().fault, ArchiveFault::NoSpace) << archive.error().text();
        ++full;
        continue;
      }
      const ArchiveResult<Done> done = mergeIntoParent(*archive, 1, ignoreProgress, {});
      isMerged = done.hasValue();
      if (!done) {
        EXPECT_EQ(done.error().fault, ArchiveFault::NoSpace) << done.error().text();
      }
      ++(isMerged ? merged : full);
    }
    EXPECT_EQ(soundPoints(), isMerged ? points - 1 : points);
  }
  EXPECT_GT(full, 0U) << "the destination was never full";
  EXPECT_GT(merged, 0U) << "the destination was always full";
}

TEST_F(Destination, ThatIsFullMakesNoPointDamaged) {
  mountDrive(2, 10'000'000);
  ArchiveResult<Archive> archive = openDrive();
  fillDrive();
  const NotedCheck noted = checkAndNote(*archive, 0, 77, [](std::uint64_t) {}, {});
  ASSERT_TRUE(noted.check.hasValue()) << noted.check.error().text();
  EXPECT_TRUE(noted.check->damaged.empty());
  EXPECT_GT(noted.check->bytes, 0U);
  ASSERT_TRUE(noted.whyNotNoted.has_value()) << "the destination was not full";
  EXPECT_THAT(noted.whyNotNoted->text(), HasSubstr("could not be saved"));
  EXPECT_EQ(archive->readPoint(0)->check, std::nullopt);
}

TEST_F(Destination, ThatIsFullHidesNoDamage) {
  mountDrive(2, 10'000'000);
  ArchiveResult<Archive> archive = openDrive();
  damage(*archive, 1);
  fillDrive();
  const NotedCheck noted = checkAndNote(*archive, 1, 77, [](std::uint64_t) {}, {});
  ASSERT_TRUE(noted.check.hasValue()) << noted.check.error().text();
  ASSERT_FALSE(noted.check->damaged.empty());
  EXPECT_EQ(noted.check->damaged[0].image, imagePath(*archive, 1));
  EXPECT_TRUE(noted.whyNotNoted.has_value()) << "the destination was not full";
}

// What is open stays writable then, so that only its place tells that nothing of it is kept.
TEST_F(Destination, ThatIsUnmountedWhileItIsWrittenIsNoBackup) {
  mountDrive(2, 10'000'000);
  ArchiveResult<Archive> archive = openDrive();
  bool isGone = false;
  const auto unmount = [&](std::uint64_t done, std::uint64_t) {
    if (done > 0 && !isGone) isGone = ::umount2(mountPoint().c_str(), MNT_DETACH) == 0;
  };
  const ArchiveResult<MadePoint> point = makeBackup(*archive, request(), unmount, {});
  EXPECT_TRUE(isGone) << "the fault was not there";
  ASSERT_FALSE(point.hasValue());
  EXPECT_THAT(point.error().text(), HasSubstr("not at its place any more"));
}

TEST_F(Destination, WhosePointFolderIsRemovedWhileItIsWrittenIsNoBackup) {
  mountDrive(2, 10'000'000);
  {
    ArchiveResult<Archive> archive = openDrive();
    const auto remove = [&](std::uint64_t done, std::uint64_t) {
      if (done == 0) return;
      for (const auto& entry : fs::directory_iterator(onDrive())) {
        if (entry.path().filename().string().starts_with("p0003")) fs::remove_all(entry.path());
      }
    };
    EXPECT_FALSE(makeBackup(*archive, request(), remove, {}).hasValue());
  }
  EXPECT_EQ(soundPoints(), 2U);
}

TEST_F(Destination, ThatIsMovedWhileItIsMergedKeepsBothPoints) {
  mountDrive(points, 10'000'000);
  {
    ArchiveResult<Archive> archive = openDrive();
    fs::rename(onDrive(), onDrive() + ".moved");
    const ArchiveResult<Done> merged = mergeIntoParent(*archive, 1, ignoreProgress, {});
    ASSERT_FALSE(merged.hasValue());
    EXPECT_THAT(merged.error().text(), HasSubstr("not at its place any more"));
  }
  fs::rename(onDrive() + ".moved", onDrive());
  EXPECT_EQ(soundPoints(), points);
}

class KilledBackups : public Destination {
 protected:
  // A backup in a process of its own that is killed `after` its start, unless it was quicker.
  bool killsIt(std::chrono::microseconds after) const {
    const pid_t process = ::fork();
    if (process == 0) {
      ArchiveResult<Archive> archive = openDrive();
      ::_exit(archive && makeBackup(*archive, request(), ignoreProgress, {}).hasValue() ? 0 : 1);
    }
    std::this_thread::sleep_for(after);
    ::kill(process, SIGKILL);
    int status = 0;
    EXPECT_EQ(::waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
    return WIFSIGNALED(status);
  }
};

TEST_F(KilledBackups, AtAnyMomentLoseNoPointAndLeaveNoHalfOne) {
  mountDrive(2, 30'000'000);
  const auto begin = std::chrono::steady_clock::now();
  {
    ArchiveResult<Archive> archive = openDrive();
    ASSERT_TRUE(makeBackup(*archive, request(), ignoreProgress, {}).hasValue());
  }
  const auto whole =
      std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
  const std::size_t wanted = test::rounds("ZPK_KILLS", 8);
  std::mt19937_64 random(3);
  std::size_t kills = 0;
  for (std::size_t i = 0; i < wanted && !HasFailure(); ++i) {
    if (i % 40 == 0) mountDrive(2, 30'000'000);
    const std::size_t before = soundPoints();
    const bool killed = killsIt(std::chrono::microseconds(random() % static_cast<std::uint64_t>(whole.count())));
    kills += killed;
    const std::size_t after = soundPoints();
    // A kill behind the commit leaves the whole point.
    EXPECT_TRUE(after == before + 1 || (killed && after == before)) << "round " << i;
  }
  EXPECT_GT(kills, wanted / 4) << "the backups were not killed";
}

}  // namespace
}  // namespace zpk
