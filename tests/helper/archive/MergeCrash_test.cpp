// Merges, pins and their recovery under kills and power cuts: at any call, as often as one likes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "helper/archive/MergeOperation.h"
#include "helper/archive/PowerCutDisk.h"
#include "helper/archive/SmallArchive.h"
#include "support/Rounds.h"

namespace zpk {
namespace {

namespace fs = std::filesystem;
using test::Call;
using test::CallRecorder;
using testing::AnyOf;

void ignoreProgress(std::uint64_t, std::uint64_t) {}

std::size_t killsWanted() {
  return test::rounds("ZPK_KILLS", 36);
}

// Where a sync costs nothing and a hole is made at once; there are many of both.
fs::path quickFolder() {
  return fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
}

// An archive of three points, kept in memory.
struct Origin {
  test::ScratchFolder folder{quickFolder()};
  test::SmallArchive small;
  test::PowerCutDisk disk;

  Origin(std::size_t disks, unsigned seed)
      : small(folder / "a.rldbackup", 3, disks, seed), disk(folder / "a.rldbackup") {}
};

// An archive that is merged, and of which every state that is left over has to be whole.
class MergeCrash : public testing::Test {
 protected:
  // By its seed one of several archives, with one disk or two, of which an increment is merged into the full point
  // or into another increment.
  void begin(unsigned seed) {
    static std::map<unsigned, Origin> origins;
    const unsigned which = seed % 6;
    const Origin& origin = origins.try_emplace(which, 1 + which % 2, which).first->second;
    small = &origin.small;
    random.seed(seed);
    child = 1 + seed / 2 % 2;
    fs::remove_all(path());
    origin.disk.putBegin(path());
  }
  std::string path() const { return folder / "a.rldbackup"; }

  void merge() const {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    if (archive) (void)mergeIntoParent(*archive, child, ignoreProgress, {});
  }
  void recover() const { (void)Archive::openForWriting(path()); }

  // How many calls it makes, when nothing stops it.
  template <class Work>
  static std::size_t callsOf(Work work) {
    CallRecorder::dieAfter(SIZE_MAX, 0);
    work();
    const std::size_t calls = CallRecorder::counted();
    CallRecorder::revive();
    return calls;
  }

  // Readers find every point that is listed as it has to be; an opening for writing finishes or takes back what was
  // begun, and leaves nothing behind.
  void expectWhole(const std::string& place) const {
    {
      const ArchiveResult<Archive> reader = Archive::openForReading(place);
      ASSERT_TRUE(reader.hasValue()) << reader.error().text();
      small->expectExact(*reader);
    }
    const ArchiveResult<Archive> archive = Archive::openForWriting(place);
    ASSERT_TRUE(archive.hasValue()) << archive.error().text();
    small->expectExact(*archive);
    EXPECT_EQ(archive->index().merging, std::nullopt);
    std::vector<std::string> merged = small->points();
    merged.erase(merged.begin() + static_cast<std::ptrdiff_t>(child) - 1);
    EXPECT_THAT(archive->index().points, AnyOf(small->points(), merged));
    std::set<std::string> folders;
    for (const auto& entry : fs::directory_iterator(place)) {
      if (entry.is_directory()) folders.insert(entry.path().filename());
    }
    EXPECT_THAT(folders, testing::UnorderedElementsAreArray(archive->index().points));
  }
  // In the eyes of the field's own tool, too.
  void expectSoundImages(const std::string& place) const {
    for (const auto& entry : fs::recursive_directory_iterator(place)) {
      if (entry.path().extension() != ".pvhd") continue;
      test::mustRun("/usr/bin/qemu-img", {"check", "-q", "-f", "qcow2", entry.path()});
    }
  }

  test::ScratchFolder folder{quickFolder()};
  std::mt19937 random;
  std::size_t child = 1;
  const test::SmallArchive* small = nullptr;
};

// A merge that is killed now and then, and taken up again, until the power fails.
TEST_F(MergeCrash, APowerCutAtAnyMomentOfAMergeLeavesEveryListedPointExact) {
  const std::size_t cuts = test::rounds("ZPK_CUTS", 200);
  std::size_t cutAfterKill = 0;
  std::size_t holes = 0;
  for (unsigned seed = 0; seed < cuts && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    begin(seed);
    const test::PowerCutDisk disk(path());
    CallRecorder::begin();
    for (int runs = 0; runs < 3; ++runs) {
      // The moments before a sync are those where the order matters.
      if (seed % 2 == 0) {
        CallRecorder::dieAfter(random() % 90, seed);
      } else {
        CallRecorder::dieAfter(random() % 14, seed, CallRecorder::Counts::Syncs);
      }
      runs == 0 ? merge() : recover();
      const bool died = CallRecorder::isDead();
      CallRecorder::revive();
      if (!died) break;
      ++cutAfterKill;
    }
    const std::vector<Call> calls = CallRecorder::end();
    holes += static_cast<std::size_t>(
        std::ranges::count_if(calls, [](const Call& call) { return call.kind == Call::Kind::Punch; }));
    const double share = std::array{0.0, 0.3, 0.7, 1.0}[random() % 4];
    const std::size_t cut = random() % (calls.size() + 1);
    const std::string left = folder / "left";
    fs::remove_all(left);
    disk.leave(calls, cut, share, random, left);
    expectWhole(left);
    if (seed % 20 == 0) expectSoundImages(left);
  }
  EXPECT_GT(cutAfterKill, cuts / 4) << "the merges were not killed";
  EXPECT_GT(holes, cuts / 4) << "no room was given back";
}

TEST_F(MergeCrash, AKillAtAnyMomentOfAMergeOrItsRecoveryLosesNothing) {
  std::size_t kills = 0;
  for (unsigned seed = 0; seed < killsWanted() && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    begin(seed);
    for (int runs = 0; runs < 3; ++runs) {
      const pid_t process = ::fork();
      if (process == 0) {
        CallRecorder::killAfter(random() % 60, seed);
        runs == 0 ? merge() : recover();
        ::_exit(0);
      }
      (void)random();
      int status = 0;
      ASSERT_EQ(::waitpid(process, &status, 0), process);
      if (!WIFSIGNALED(status)) break;
      ++kills;
    }
    expectWhole(path());
    if (seed % 12 == 0) expectSoundImages(path());
  }
  EXPECT_GT(kills, killsWanted() / 2) << "the merges were not killed";
}

TEST_F(MergeCrash, APowerCutAtAnyMomentOfAPinLeavesTheOldLabelOrTheNewOne) {
  begin(1);
  const test::PowerCutDisk disk(path());
  const auto pointAt = [](const std::string& place) { return *Archive::openForReading(place)->readPoint(1); };
  const PointIndex before = pointAt(path());
  PointIndex after = before;
  after.isPinned = !before.isPinned;
  after.label = "after";
  {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    CallRecorder::begin();
    ASSERT_TRUE(archive->savePoint(1, after).hasValue());
  }
  const std::vector<Call> calls = CallRecorder::end();
  ASSERT_GT(calls.size(), 3U);
  std::size_t old = 0;
  for (const double share : {0.0, 0.3, 0.7, 1.0}) {
    for (std::size_t cut = 0; cut <= calls.size(); ++cut) {
      const std::string left = folder / "left";
      fs::remove_all(left);
      disk.leave(calls, cut, share, random, left);
      const PointIndex found = pointAt(left);
      EXPECT_THAT(found, AnyOf(before, after)) << "call " << cut << " of " << calls.size();
      if (cut == calls.size()) {
        EXPECT_EQ(found, after) << "lost what was told to be saved";
      }
      old += found == before;
    }
  }
  EXPECT_GT(old, 3U) << "the pins were not cut short";
}

TEST_F(MergeCrash, AKillAtAnyMomentOfAPinLeavesTheOldLabelOrTheNewOne) {
  begin(1);
  const auto pin = [&](const std::string& label) {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    PointIndex point = *archive->readPoint(1);
    point.isPinned = !point.isPinned;
    point.label = label;
    (void)archive->savePoint(1, point);
  };
  std::size_t kills = 0;
  const std::size_t calls = callsOf([&] { pin("before"); });
  PointIndex before = *Archive::openForReading(path())->readPoint(1);
  for (unsigned seed = 0; seed < killsWanted() && !HasFailure(); ++seed) {
    const std::string label = "label " + std::to_string(seed);
    const pid_t process = ::fork();
    if (process == 0) {
      CallRecorder::killAfter(seed % (calls + 1), seed);
      pin(label);
      ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(process, &status, 0), process);
    kills += WIFSIGNALED(status);
    PointIndex after = before;
    after.isPinned = !before.isPinned;
    after.label = label;
    const PointIndex found = *Archive::openForReading(path())->readPoint(1);
    EXPECT_THAT(found, AnyOf(before, after)) << "seed " << seed;
    if (!WIFSIGNALED(status)) {
      EXPECT_EQ(found, after) << "seed " << seed;
    }
    before = found;
  }
  EXPECT_GT(kills, killsWanted() / 2) << "the pins were not killed";
}

}  // namespace
}  // namespace zpk
