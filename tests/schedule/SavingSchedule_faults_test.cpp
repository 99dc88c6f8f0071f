// A save of the schedule that is killed or refused at every one of its system calls: the job file is the old one or
// the new one, never a piece of one. strace makes the faults; every test checks that its fault really happened.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <sstream>

#include "platform/posix/FileManager_posix.h"
#include "platform/posix/TaskRunner_posix.h"
#include "schedule/ScheduleWorld.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::string kFolder = "Library/LaunchAgents";
const std::string kFile = kFolder + "/com.tarnwick.zpkauto.plist";
const Dictionary kOldCalendar{{"Minute", 15}, {"Hour", 6}, {"Day", 4}};
const Dictionary kNewCalendar{{"Minute", 45}, {"Hour", 21}, {"Weekday", 7}};

class SavingScheduleUnderFaults : public testing::Test {
 protected:
  SavingScheduleUnderFaults() { putOldJob(); }

  void putOldJob() {
    std::filesystem::remove_all(home.path("Library"));
    std::filesystem::create_directories(home.path(kFolder));
    const auto content = writeXMLPropertyList(ScheduleWorld::jobWithCalendar(kOldCalendar));
    home.put(kFile, std::string(content->begin(), content->end()));
  }

  // Saves kNewCalendar in a process of its own under strace with `options`.
  TaskResult save(const std::vector<std::string>& options) {
    TaskDescription task;
    task.launchPath = "/usr/bin/strace";
    // Sanitizers that look for leaks cannot do so in a traced program.
    task.arguments = {
        "-f", "-E", "ASAN_OPTIONS=detect_leaks=0", "-E", "HOME=" + home.path(), "-o", traces.path("trace")};
    task.arguments.insert(task.arguments.end(), options.begin(), options.end());
    for (const char* word : {ZPK_SAVE_SCHEDULE_ONCE, "21", "45", "6"}) task.arguments.emplace_back(word);
    const auto result = PosixTaskRunner().run(task);
    EXPECT_TRUE(result) << (result ? "" : result.error().reason);
    return result ? *result : TaskResult{};
  }

  struct SystemCall {
    std::string name;
    int number;     // among those of its name, from the program's start on
    bool isOfHome;  // of something in the home folder, and not of the program's own doings
  };

  // The system calls of an undisturbed save, in order.
  std::vector<SystemCall> systemCallsOfTheSave() {
    EXPECT_EQ(save({"-y"}).status, 0);
    std::vector<SystemCall> calls;
    std::map<std::string, int> counts;
    std::istringstream lines(traces.get("trace"));
    std::string process;
    bool begun = false;
    for (std::string line; lines >> process && std::getline(lines >> std::ws, line);) {
      const std::string name = line.substr(0, line.find('('));
      // Signals and the end of the process have lines too.
      if (name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_0123456789") != std::string::npos) continue;
      const int number = ++counts[name];
      // It begins with the look for the folder. The name of the home stands in the start of the program too.
      const bool isOfHome = name != "execve" && line.find(home.path() + "/Library") != std::string::npos;
      begun |= isOfHome;
      if (begun) calls.push_back({name, number, isOfHome});
    }
    return calls;
  }

  // What the next start of the program makes of the job file: the launcher says that it is loaded.
  struct ReadBack {
    Value calendar;
    bool wasValid;
    double seconds;
  };
  ReadBack readBack() {
    const std::string content = home.get(kFile);
    ScheduleWorld world;
    world.makeFolder();
    world.files.add(ScheduleWorld::kPath, content);
    world.controller.setEnabled(true);
    const Value job = world.job();
    return {job.dictionary() != nullptr ? (*job.dictionary())["StartCalendarInterval"] : Value(),
            world.files.content(ScheduleWorld::kPath) == content,
            world.controller.timeOfDay().value_or(Date{}).secondsSince1970};
  }

  void expectOldJobAndNothingElse() {
    EXPECT_EQ(readBack().calendar, kOldCalendar);
    EXPECT_TRUE(readBack().wasValid);
    EXPECT_THAT(namesInFolder(), ElementsAre("com.tarnwick.zpkauto.plist"));
  }
  std::vector<std::string> namesInFolder() { return *PosixFileManager().contentsOfDirectory(home.path(kFolder)); }
  static std::string said(const TaskResult& result) {
    return {result.standardOutput.begin(), result.standardOutput.end()};
  }
  std::string launcherRuns() const {
    const std::string path = home.path(kFile);
    return "unload\n" + path + "\nload\n" + path + "\n";
  }

  TemporaryFolder home;
  TemporaryFolder traces;
};

TEST_F(SavingScheduleUnderFaults, UndisturbedItWritesTheNewJob) {
  EXPECT_EQ(said(save({})), launcherRuns());
  EXPECT_EQ(readBack().calendar, kNewCalendar);
  EXPECT_TRUE(readBack().wasValid);
  EXPECT_EQ(readBack().seconds, (21 * 60 + 45) * 60);
}

TEST_F(SavingScheduleUnderFaults, AKillAtAnySystemCallLeavesTheOldJobOrTheNewOne) {
  const std::vector<SystemCall> calls = systemCallsOfTheSave();
  ASSERT_GT(calls.size(), 8u);
  int old = 0;
  int fresh = 0;
  for (const auto& [name, number, isOfHome] : calls) {
    SCOPED_TRACE(name + " " + std::to_string(number));
    putOldJob();
    const TaskResult killed = save({"-e", "inject=" + name + ":signal=KILL:when=" + std::to_string(number)});
    ASSERT_EQ(killed.reason, TaskResult::Reason::uncaughtSignal) << "it was not killed";
    ASSERT_EQ(killed.status, SIGKILL);
    const ReadBack job = readBack();
    ASSERT_TRUE(job.wasValid) << "a piece of a job: " << home.get(kFile);
    ASSERT_TRUE(job.calendar == kOldCalendar || job.calendar == kNewCalendar);
    ++(job.calendar == kOldCalendar ? old : fresh);
  }
  EXPECT_GT(old, 0);
  EXPECT_GT(fresh, 0);
}

TEST_F(SavingScheduleUnderFaults, AKillAtAnySystemCallOfTheFirstSaveLeavesNoJobOrAWholeOne) {
  std::filesystem::remove_all(home.path("Library"));
  const std::vector<SystemCall> calls = systemCallsOfTheSave();
  int none = 0;
  int fresh = 0;
  for (const auto& [name, number, isOfHome] : calls) {
    SCOPED_TRACE(name + " " + std::to_string(number));
    std::filesystem::remove_all(home.path("Library"));
    ASSERT_EQ(save({"-e", "inject=" + name + ":signal=KILL:when=" + std::to_string(number)}).status, SIGKILL);
    if (!std::filesystem::exists(home.path(kFile))) {
      ++none;
      continue;
    }
    ++fresh;
    ASSERT_EQ(readBack().calendar, kNewCalendar);
  }
  EXPECT_GT(none, 0);
  EXPECT_GT(fresh, 0);
}

TEST_F(SavingScheduleUnderFaults, AFullDiskAtAnyPlaceKeepsTheOldJobAndTheSaveGoesOn) {
  int refused = 0;
  for (const auto& [name, number, isOfHome] : systemCallsOfTheSave()) {
    // Those that a full disk can refuse.
    const bool needsRoom = name == "write" || name == "fsync" || name == "renameat" || name == "openat";
    if (!needsRoom || !isOfHome) continue;
    SCOPED_TRACE(name + " " + std::to_string(number));
    putOldJob();
    const TaskResult result =
        save({"-e", "trace=" + name, "-e", "inject=" + name + ":error=ENOSPC:when=" + std::to_string(number)});
    ASSERT_THAT(traces.get("trace"), HasSubstr("(INJECTED)"));
    ASSERT_EQ(result.status, 0);
    // Refused after the new file has its name, which leaves only the folder's way to the disk.
    if (readBack().calendar == kNewCalendar) continue;
    ++refused;
    expectOldJobAndNothingElse();
    EXPECT_EQ(said(result), launcherRuns());
  }
  // The folder, the temporary file, its content, its way to the disk, its name.
  EXPECT_GE(refused, 5);
}

TEST_F(SavingScheduleUnderFaults, AFolderThatCannotBeMadeIsNoHindrance) {
  std::filesystem::remove_all(home.path("Library"));
  const TaskResult result = save({"-e", "trace=mkdir", "-e", "inject=mkdir:error=ENOSPC:when=1+"});
  ASSERT_THAT(traces.get("trace"), HasSubstr("(INJECTED)"));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(said(result), launcherRuns());
  EXPECT_FALSE(std::filesystem::exists(home.path("Library")));
}

}  // namespace
}  // namespace zpk
