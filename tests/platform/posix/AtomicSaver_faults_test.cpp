// A save that is killed or refused at every one of its system calls. strace makes the faults; every test checks
// that its fault really happened.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <sstream>

#include "platform/posix/AtomicSaver.h"
#include "platform/posix/TaskRunner_posix.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::size_t kSize = 50000;
const std::string kOld(kSize + 1000, 'o');
const std::string kNew(kSize, 'n');

class AtomicSaverUnderFaults : public testing::Test {
 protected:
  void SetUp() override { folder.put("settings", kOld); }

  // Saves kNew over kOld in a process of its own under strace with `options`.
  TaskResult save(std::vector<std::string> options) {
    TaskDescription task;
    task.launchPath = "/usr/bin/strace";
    // Sanitizers that look for leaks cannot do so in a traced program.
    task.arguments = {"-f", "-E", "ASAN_OPTIONS=detect_leaks=0", "-o", traces.path("trace")};
    task.arguments.insert(task.arguments.end(), options.begin(), options.end());
    for (const std::string& word :
         {std::string(ZPK_SAVE_ONCE), folder.path("settings"), std::to_string(kSize), std::string("n")}) {
      task.arguments.push_back(word);
    }
    const auto result = PosixTaskRunner().run(task);
    EXPECT_TRUE(result) << (result ? "" : result.error().reason);
    return result ? *result : TaskResult{};
  }

  // Trips the `when`-th call of `call` with `error`, and checks that it happened.
  TaskResult saveWithError(const std::string& call, const std::string& error, int when) {
    const TaskResult result =
        save({"-e", "trace=" + call, "-e", "inject=" + call + ":error=" + error + ":when=" + std::to_string(when)});
    EXPECT_THAT(traces.get("trace"), HasSubstr("(INJECTED)"));
    return result;
  }

  static std::string said(const TaskResult& result) {
    return {result.standardOutput.begin(), result.standardOutput.end()};
  }

  struct SystemCall {
    std::string name;
    int number;        // among those of its name
    bool isOfTheSave;  // and not of the program's start
  };

  // The system calls of an undisturbed save, in order.
  std::vector<SystemCall> systemCalls() {
    EXPECT_EQ(save({}).status, 0);
    std::vector<SystemCall> calls;
    std::map<std::string, int> counts;
    std::istringstream lines(traces.get("trace"));
    std::string process;
    bool begun = false;
    for (std::string line; lines >> process && std::getline(lines >> std::ws, line);) {
      const std::string name = line.substr(0, line.find('('));
      // Signals and the end of the process have lines too.
      if (name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_0123456789") != std::string::npos) continue;
      // It begins with the opening of the folder.
      begun |= name == "openat" && line.find(folder.path()) != std::string::npos;
      calls.push_back({name, ++counts[name], begun});
    }
    return calls;
  }

  void expectOldFileAndNothingElse() {
    EXPECT_EQ(folder.get("settings"), kOld);
    EXPECT_THAT(folder.names(), ElementsAre("settings"));
  }

  TemporaryFolder folder;
  TemporaryFolder traces;
};

TEST_F(AtomicSaverUnderFaults, AKillAtAnySystemCallLeavesTheOldFileOrTheNewOne) {
  std::vector<SystemCall> calls = systemCalls();
  std::erase_if(calls, [](const SystemCall& call) { return !call.isOfTheSave; });
  const auto count = [&](std::string_view name) {
    return std::count_if(calls.begin(), calls.end(), [&](const SystemCall& call) { return call.name == name; });
  };
  ASSERT_EQ(count("write"), 1);
  ASSERT_EQ(count("fsync"), 2);
  ASSERT_EQ(count("renameat"), 1);
  int old = 0;
  int fresh = 0;
  int leftovers = 0;
  for (const auto& [name, number, isOfTheSave] : calls) {
    SCOPED_TRACE(name + " " + std::to_string(number));
    folder.put("settings", kOld);
    const TaskResult killed = save({"-e", "inject=" + name + ":signal=KILL:when=" + std::to_string(number)});
    ASSERT_EQ(killed.reason, TaskResult::Reason::uncaughtSignal) << "it was not killed";
    ASSERT_EQ(killed.status, SIGKILL);

    const std::string content = folder.get("settings");
    ASSERT_TRUE(content == kOld || content == kNew) << content.size() << " bytes of neither";
    ++(content == kOld ? old : fresh);
    leftovers += folder.names().size() > 1 ? 1 : 0;
    // The next save works and cleans up.
    ASSERT_TRUE(AtomicSaver::save(folder.path("settings"), Bytes{'x'}));
    ASSERT_EQ(folder.get("settings"), "x");
    ASSERT_THAT(folder.names(), ElementsAre("settings"));
  }
  // The kills came before the file was there, while it was unfinished, and after it had its name.
  EXPECT_GT(old, 0);
  EXPECT_GT(leftovers, 0);
  EXPECT_GT(fresh, 0);
}

TEST_F(AtomicSaverUnderFaults, AFullDiskKeepsTheOldFile) {
  const TaskResult result = saveWithError("write", "ENOSPC", 1);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(said(result), "No space left on device");
  expectOldFileAndNothingElse();
}

TEST_F(AtomicSaverUnderFaults, AWriteThatEndsHalfwayKeepsTheOldFile) {
  TaskDescription task;
  task.launchPath = "/usr/bin/prlimit";
  task.arguments = {"--fsize=20000", ZPK_SAVE_ONCE, folder.path("settings"), std::to_string(kSize), "n"};
  const auto result = PosixTaskRunner().run(task);
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, 1);
  EXPECT_EQ(said(*result), "File too large");
  expectOldFileAndNothingElse();
}

TEST_F(AtomicSaverUnderFaults, ContentThatDoesNotReachTheDiskKeepsTheOldFile) {
  const TaskResult result = saveWithError("fsync", "EIO", 1);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(said(result), "Input/output error");
  expectOldFileAndNothingElse();
}

TEST_F(AtomicSaverUnderFaults, ARenameThatFailsKeepsTheOldFile) {
  EXPECT_EQ(said(saveWithError("renameat", "EACCES", 1)), "Permission denied");
  expectOldFileAndNothingElse();
}

TEST_F(AtomicSaverUnderFaults, PermissionsThatCannotBeSetKeepTheOldFile) {
  EXPECT_EQ(said(saveWithError("fchmod", "EPERM", 1)), "Operation not permitted");
  expectOldFileAndNothingElse();
}

TEST_F(AtomicSaverUnderFaults, AFolderThatCannotBeSyncedIsReportedWithTheNewFileInPlace) {
  EXPECT_EQ(said(saveWithError("fsync", "EIO", 2)), "Input/output error");
  EXPECT_EQ(folder.get("settings"), kNew);
  EXPECT_THAT(folder.names(), ElementsAre("settings"));
}

TEST_F(AtomicSaverUnderFaults, AFileSystemThatSyncsNoFoldersIsGoodEnough) {
  EXPECT_EQ(saveWithError("fsync", "EINVAL", 2).status, 0);
  EXPECT_EQ(folder.get("settings"), kNew);
}

TEST_F(AtomicSaverUnderFaults, AFileSystemWithoutLocksIsGoodEnough) {
  EXPECT_EQ(saveWithError("flock", "ENOSYS", 1).status, 0);
  EXPECT_EQ(folder.get("settings"), kNew);
}

TEST_F(AtomicSaverUnderFaults, SignalsThatInterruptACallAreNoFailure) {
  EXPECT_EQ(saveWithError("write", "EINTR", 1).status, 0);
  EXPECT_EQ(saveWithError("fsync", "EINTR", 1).status, 0);
  EXPECT_EQ(saveWithError("fsync", "EINTR", 2).status, 0);
  EXPECT_EQ(folder.get("settings"), kNew);
}

TEST_F(AtomicSaverUnderFaults, NoRoomForATemporaryFileKeepsTheOldFile) {
  // The temporary file is the last one that a save opens.
  int opens = 0;
  for (const auto& call : systemCalls()) opens += call.name == "openat" ? 1 : 0;
  folder.put("settings", kOld);
  const TaskResult result = saveWithError("openat", "ENOSPC", opens);
  EXPECT_THAT(traces.get("trace"), HasSubstr("O_EXCL"));
  EXPECT_EQ(said(result), "No space left on device");
  expectOldFileAndNothingElse();
}

}  // namespace
}  // namespace zpk
