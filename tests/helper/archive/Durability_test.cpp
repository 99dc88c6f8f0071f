// What a killed process, a failed sync and a power cut leave of a backup.
//
// The calls that make an archive durable are replaced for the whole of this program: each of them is a step at
// which a test can let the backup die, fail or hang.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include "helper/archive/BackupOperation.h"
#include "helper/archive/MergeWorld.h"
#include "helper/archive/SampleDisk.h"

namespace {

enum class Fault { None, Dies, Fails, NothingToSync, Hangs };

std::atomic<Fault> fault{Fault::None};
std::atomic<int> stepsBefore{0};  // Of those that die or fail.
std::atomic<int> faults{0};       // How often it happened.
std::atomic<int> hanging{0};

// Whether the step that comes now is the one.
bool isSpoiled() {
  return stepsBefore.fetch_sub(1) == 0;
}

// What happens at every step; false with errno when it fails.
bool takesStep() {
  if (fault == Fault::Dies && isSpoiled()) ::raise(SIGKILL);
  if (fault != Fault::Fails || !isSpoiled()) return true;
  ++faults;
  errno = EIO;
  return false;
}

bool isFolder(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

extern "C" int fsync(int descriptor) {
  if (!takesStep()) return -1;
  if (fault == Fault::NothingToSync && isFolder(descriptor)) {
    ++faults;
    errno = EINVAL;
    return -1;
  }
  if (fault == Fault::Hangs) {
    ++hanging;
    hanging.notify_all();
    fault.wait(Fault::Hangs);
    --hanging;
    hanging.notify_all();
  }
  return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

extern "C" int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
  return takesStep() ? static_cast<int>(::syscall(SYS_renameat, fromFolder, from, toFolder, to)) : -1;
}

extern "C" int mkdirat(int folder, const char* name, mode_t mode) noexcept {
  return takesStep() ? static_cast<int>(::syscall(SYS_mkdirat, folder, name, mode)) : -1;
}

namespace zpk {
namespace {

namespace fs = std::filesystem;
using test::SampleDisk;
using test::ScratchFolder;
using testing::HasSubstr;

void ignoreProgress(std::uint64_t, std::uint64_t) {}

ArchiveResult<PointIndex> backUp(Archive& archive, const std::string& disk, const CancelFlag& cancel = {}) {
  return makeFullBackup(archive, SampleDisk::requestFor(disk), ignoreProgress, cancel);
}

ArchiveResult<PointIndex> addIncrement(Archive& archive, const std::string& disk) {
  ArchiveResult<MadePoint> made = makeBackup(archive, SampleDisk::requestFor(disk), ignoreProgress, {});
  if (!made) return made.error();
  EXPECT_EQ(made->index.kind, PointKind::Increment);
  return std::move(made->index);
}

// Begins with one point.
class Durability : public testing::Test {
 protected:
  Durability() {
    ArchiveResult<Archive> archive = Archive::create(path(), {"disk-id", "Sample", 1});
    EXPECT_TRUE(archive.hasValue() && backUp(*archive, disk.path()).hasValue());
  }
  ~Durability() override { fault = Fault::None; }

  std::string path() const { return folder / "a.rldbackup"; }

  static void arm(Fault kind, int stepsBeforeIt = 0) {
    stepsBefore = stepsBeforeIt;
    faults = 0;
    fault = kind;
  }

  // One more point, made with that fault.
  ArchiveResult<PointIndex> backUpWith(Fault kind, int stepsBeforeIt = 0) const {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    if (!archive) return archive.error();
    arm(kind, stepsBeforeIt);
    ArchiveResult<PointIndex> point =
        pointKind == PointKind::Full ? backUp(*archive, disk.path()) : addIncrement(*archive, disk.path());
    fault = Fault::None;
    return point;
  }

  // The same in a process that may die of it; whether it did.
  bool diesOf(int stepsBeforeIt) const {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(backUpWith(Fault::Dies, stepsBeforeIt).hasValue() ? 0 : 1);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
    return WIFSIGNALED(status);
  }

  // The number of points, each of which has to be whole; nothing else may be left once the archive was opened for
  // writing.
  std::size_t soundPoints() const {
    const ArchiveResult<Archive> archive = Archive::openForWriting(path());
    EXPECT_TRUE(archive.hasValue()) << (archive ? "" : archive.error().text());
    if (!archive) return 0;
    const std::vector<std::string>& points = archive->index().points;
    for (std::size_t i = 0; i < points.size(); ++i) {
      EXPECT_TRUE(archive->readPoint(i).hasValue());
      test::mustRun("/usr/bin/qemu-img", {"check", "-q", "-f", "qcow2", path() + "/" + points[i] + "/disk0.pvhd"});
    }
    std::set<std::string> folders;
    for (const auto& entry : fs::directory_iterator(path())) {
      if (entry.is_directory()) folders.insert(entry.path().filename());
    }
    EXPECT_THAT(folders, testing::UnorderedElementsAreArray(points));
    return points.size();
  }

  PointKind pointKind = PointKind::Full;  // Of the further points.
  ScratchFolder folder;
  SampleDisk disk{folder};
};

class DurabilityOfEachKind : public Durability, public testing::WithParamInterface<PointKind> {
 protected:
  DurabilityOfEachKind() {
    pointKind = GetParam();
    disk.overwrite(SampleDisk::reservedStart, "changed");
  }
};

INSTANTIATE_TEST_SUITE_P(Points, DurabilityOfEachKind, testing::Values(PointKind::Full, PointKind::Increment),
                         [](const auto& kind) { return kind.param == PointKind::Full ? "Full" : "Increment"; });

TEST_P(DurabilityOfEachKind, AKillAtAnyStepLosesNoPointAndLeavesNoHalfOne) {
  int step = 0;
  for (std::size_t points = 1; points == 1; ++step) {
    ASSERT_LT(step, 100) << "the backup never came to its end";
    const bool died = diesOf(step);
    points = soundPoints();
    // The very last step makes the new index durable, which names the point already.
    EXPECT_TRUE(died || points == 2) << "step " << step;
  }
  EXPECT_GE(step, 12) << "the backup was not killed where it was meant to be";
}

TEST_P(DurabilityOfEachKind, AFailedStepVoidsThePointWithTheReasonAndTheIndexNamesNoMissingOne) {
  // The last sync of a commit fails when the new index is in place already; removing the point's folder then, as
  // after any other failure, made the archive name a point that was gone.
  int step = 0;
  for (bool failed = true; failed; ++step) {
    ASSERT_LT(step, 100) << "the backup never came to its end";
    const ArchiveResult<PointIndex> point = backUpWith(Fault::Fails, step);
    failed = !point.hasValue();
    EXPECT_EQ(faults > 0, failed) << "step " << step;
    EXPECT_EQ(soundPoints(), failed ? 1U : 2U) << "step " << step;
    if (failed) {
      EXPECT_THAT(point.error().text(), HasSubstr("Input/output error"));
    }
  }
  EXPECT_GE(step, 12) << "the fault was not there";
}

class DurabilityOfMerges : public test::MergeWorld, public testing::WithParamInterface<std::size_t> {
 protected:
  ~DurabilityOfMerges() override { fault = Fault::None; }

  ArchiveResult<Done> mergeWith(Fault kind, int step) const {
    Archive archive = open();
    stepsBefore = step;
    faults = 0;
    fault = kind;
    ArchiveResult<Done> done = mergeIntoParent(archive, GetParam(), ignoreProgress, {});
    fault = Fault::None;
    return done;
  }
  bool diesOf(int step) const {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(mergeWith(Fault::Dies, step).hasValue() ? 0 : 1);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
    return WIFSIGNALED(status);
  }
  // What readers find right after a stop is exact, too: the parent is among the points, or it is not.
  void expectReadersFindMoments() {
    ArchiveResult<Archive> reader = Archive::openForReading(path());
    ASSERT_TRUE(reader.hasValue()) << reader.error().text();
    const std::vector<std::string> all = moments;
    const auto given = moments.begin() + static_cast<std::ptrdiff_t>(GetParam()) - 1;
    if (reader->index().points.size() < all.size()) moments.erase(given);
    expectMoments(*reader);
    moments = all;
  }
  void beginAnew() const {
    fs::remove_all(path());
    test::mustRun("/bin/cp", {"-a", folder / "kept", path()});
  }
  void keep() const { test::mustRun("/bin/cp", {"-a", path(), folder / "kept"}); }
};

INSTANTIATE_TEST_SUITE_P(IntoAFullAndIntoAnIncrement, DurabilityOfMerges, testing::Values(1U, 2U));

TEST_P(DurabilityOfMerges, AKillAtAnyStepLosesNothingAndTheNextOpeningFinishesIt) {
  keep();
  int step = 0;
  for (bool died = true; died; ++step) {
    ASSERT_LT(step, 100) << "the merge never came to its end";
    beginAnew();
    died = diesOf(step);
    expectReadersFindMoments();
    const Archive archive = open();
    EXPECT_EQ(archive.index().merging, std::nullopt);
    std::vector<std::string> all = moments;
    if (archive.index().points.size() == 3)
      moments.erase(moments.begin() + static_cast<std::ptrdiff_t>(GetParam()) - 1);
    // Only what came before the archive said so is not taken up again.
    EXPECT_TRUE(archive.index().points.size() == 3 || step < 2) << "step " << step;
    expectMoments(archive);
    moments = all;
  }
  EXPECT_GE(step, 10) << "the merge was not killed where it was meant to be";
}

TEST_P(DurabilityOfMerges, AFailedStepLeavesBothPointsOrIsFinishedLater) {
  keep();
  int step = 0;
  for (bool failed = true; failed; ++step) {
    ASSERT_LT(step, 100) << "the merge never came to its end";
    beginAnew();
    const ArchiveResult<Done> done = mergeWith(Fault::Fails, step);
    failed = !done.hasValue();
    EXPECT_EQ(faults > 0, failed) << "step " << step;
    expectReadersFindMoments();
    const Archive archive = open();
    std::vector<std::string> all = moments;
    if (archive.index().points.size() == 3)
      moments.erase(moments.begin() + static_cast<std::ptrdiff_t>(GetParam()) - 1);
    expectMoments(archive);
    moments = all;
  }
  EXPECT_GE(step, 10) << "the fault was not there";
}

TEST_F(Durability, AFileSystemWithNothingToSyncForAFolderIsNoFailure) {
  const ArchiveResult<PointIndex> point = backUpWith(Fault::NothingToSync);
  EXPECT_TRUE(point.hasValue()) << point.error().text();
  EXPECT_GE(faults, 4) << "the fault was not there";
  EXPECT_EQ(soundPoints(), 2U);
}

TEST_F(Durability, ASyncThatDoesNotEndIsNotWaitedForAfterAStop) {
  {
    ArchiveResult<Archive> archive = Archive::openForWriting(path());
    ASSERT_TRUE(archive.hasValue());
    arm(Fault::Hangs);
    CancelFlag cancel;
    std::thread user([&] {
      hanging.wait(0);
      cancel.request();
    });
    const ArchiveResult<PointIndex> point = backUp(*archive, disk.path(), cancel);
    user.join();
    ASSERT_FALSE(point.hasValue());
    EXPECT_EQ(point.error().fault, ArchiveFault::Cancelled);
    EXPECT_EQ(hanging, 1) << "the sync was waited for";
  }
  fault = Fault::None;
  fault.notify_all();
  hanging.wait(1);
  EXPECT_EQ(soundPoints(), 1U);
}

// Run as a process of its own by the test below; the last two arguments are the archive's path and the disk's.
TEST(DurabilityChild, DISABLED_BacksUp) {
  const std::vector<std::string> arguments = testing::internal::GetArgvs();
  ArchiveResult<Archive> archive = Archive::openForWriting(arguments.at(arguments.size() - 2));
  ASSERT_TRUE(archive.hasValue()) << archive.error().text();
  const ArchiveResult<PointIndex> point = backUp(*archive, arguments.back());
  ASSERT_TRUE(point.hasValue()) << point.error().text();
}

// The system calls of a backup, and for each file what would be there after a power cut: what was synced, under the
// names that were synced.
class PowerCut {
 public:
  // Takes one line of the trace.
  void take(const std::string& line) {
    static const std::regex write(R"re(p?write(?:64|v)?\(\d+<([^>]*)>.*)re");
    static const std::regex sync(R"re(fsync\(\d+<([^>]*)>.*)re");
    static const std::regex make(R"re(mkdirat\(\d+<([^>]*)>, .*)re");
    static const std::regex rename(R"re(renameat\(\d+<([^>]*)>, "([^"]*)", \d+<[^>]*>, "([^"]*)".*)re");
    const std::size_t call = line.find_first_not_of("0123456789 ");
    const std::string text = line.substr(call == std::string::npos ? 0 : call);
    std::smatch part;
    if (std::regex_match(text, part, write)) _unsynced.insert(part[1]);
    if (std::regex_match(text, part, make)) _unsynced.insert(part[1]);
    if (std::regex_match(text, part, sync)) _unsynced.erase(part[1]);
    if (std::regex_match(text, part, rename)) moved(part[1], part[2], part[3]);
  }

  // Files and folders of which something was not durable when archive.json began to name the point.
  const std::set<std::string>& missing() const { return _missing; }
  const std::vector<std::string>& renamed() const { return _renamed; }
  const std::set<std::string>& unsynced() const { return _unsynced; }

 private:
  void moved(const std::string& folder, const std::string& from, const std::string& to) {
    EXPECT_FALSE(_unsynced.contains(folder + "/" + from)) << to << " got its name before it was durable";
    if (to == Archive::indexName) _missing = _unsynced;
    _unsynced.insert(folder);
    _renamed.push_back(to);
  }

  std::set<std::string> _unsynced;
  std::set<std::string> _missing;
  std::vector<std::string> _renamed;
};

TEST_F(Durability, APowerCutFindsEverythingThatTheIndexNamesOnTheDisk) {
  const std::string program = fs::read_symlink("/proc/self/exe");
  ToolCommand command{
      "/usr/bin/strace",
      {"-f", "-qq", "-y", "-o", folder / "trace", "-e", "trace=write,pwrite64,pwritev,fsync,mkdirat,renameat",
       program, "--gtest_also_run_disabled_tests", "--gtest_filter=DurabilityChild.*", path(), disk.path()},
      {},
      ToolAccess::ReadsAndWrites,
      {}};
  // The tools that the backup starts have limits of their own, which must not be above these.
  command.limits.memoryBytes = std::uint64_t{4} << 30U;
  command.limits.cpuSeconds = 60 * 60;
  const CancelFlag never;
  const auto result = runTool(command, never);
  ASSERT_TRUE(result.hasValue() && result->succeeded()) << (result ? result->output : result.error().text());
  PowerCut cut;
  std::istringstream trace(test::readAll(folder / "trace"));
  // A call that another thread's call interrupts stands in two lines, of which the first has the arguments; the
  // thread that waits for a sync goes on only after it.
  for (std::string line; std::getline(trace, line);) {
    if (line.find(path() + "/") != std::string::npos || line.find(path() + ">") != std::string::npos)
      cut.take(line);
  }
  EXPECT_THAT(cut.renamed(), testing::ElementsAre("disk0.pvhd", "disk0.map", "index.json", "archive.json"));
  // The lock's record belongs to the process alone.
  EXPECT_THAT(cut.missing(), testing::ElementsAre(path() + "/lock"));
  EXPECT_THAT(cut.unsynced(), testing::ElementsAre(path() + "/lock"));
}

}  // namespace
}  // namespace zpk
