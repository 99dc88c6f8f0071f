// The real program on a bus of the test's own, with real disk images.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "helper/archive/SampleDisk.h"
#include "helper/service/HelperRun.h"
#include "helper/service/TestBus.h"
#include "helperlink/ResultCode.h"
#include "helperlink/StatusRecord.h"
#include "records/RLDArcDisk.h"
#include "records/RLDArchive.h"
#include "records/RLDArchiveItem.h"
#include "records/RLDPartition.h"
#include "records/ZPKDisk.h"

namespace zpk::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string code(ResultCode result) {
  return std::to_string(static_cast<std::uint32_t>(result));
}

bool isIdle(const Dictionary& status) {
  return statuskey::state.isPresentIn(status) && statuskey::state.read(status) == HelperState::idle;
}
bool isInProgress(const Dictionary& status) {
  return statuskey::state.read(status) == HelperState::inProgress;
}

// The folder of that disk, which is made once: the helper does not change it.
const std::string& largeDisk() {
  static const TemporaryFolder folder;
  static const std::string path = [] {
    const std::string image = folder.path("large.img");
    const std::string volume = folder.path("volume");
    mustRun("/bin/sh", {"-ec", "export PATH=/usr/sbin:/usr/bin:/sbin:/bin; truncate -s 500M " + image +
                                   "; sgdisk -n 1:1M:+400M -t 1:0c01 -n 2:401M:+64M -t 2:0700 " + image +
                                   "; head -c 400M /dev/urandom | dd of=" + image +
                                   " bs=1M seek=1 iflag=fullblock conv=notrunc status=none; truncate -s 64M " +
                                   volume + "; mkntfs -F -Q -q -p 821248 " + volume + "; dd if=" + volume +
                                   " of=" + image + " bs=1M seek=401 conv=notrunc status=none"});
    std::filesystem::remove(volume);
    return folder.path();
  }();
  return path;
}

class HelperProgram : public testing::Test {
 protected:
  HelperProgram() {
    for (const char* name : {"disks", "state", "archives"}) std::filesystem::create_directory(folder.path(name));
  }

  void start() {
    helper = tests::ChildProcess({ZPKHELPER, "--session", "--disks", diskFolder, "--state", folder.path("state")},
                                 tests::ChildProcess::Output::dropped);
    ASSERT_TRUE(frontEnd.waitFor([&] { return frontEnd.helperIsThere(); })) << folder.get("state/zpkhelper.log");
    ASSERT_TRUE(frontEnd.waitFor([&] { return isIdle(frontEnd.status()); }));
  }
  pid_t helperProcess() {
    sd_bus_creds* creds = nullptr;
    pid_t process = 0;
    sd_bus_get_name_creds(frontEnd.bus(), kHelperBusName, SD_BUS_CREDS_PID, &creds);
    sd_bus_creds_get_pid(creds, &process);
    sd_bus_creds_unref(creds);
    return process;
  }

  // A disk with an NTFS volume that holds files.
  void addSampleDisk() {
    const SampleDisk disk(scratch);
    std::filesystem::copy_file(disk.path(), folder.path("disks/sample.img"));
  }
  void addDiskThatWasNotClosed() {
    const SampleDisk disk(scratch);
    disk.markDirty();
    std::filesystem::copy_file(disk.path(), folder.path("disks/sample.img"));
  }
  // Has the helper look where a disk is of which so much is to be read that a test can step in between.
  void useLargeDisk() { diskFolder = largeDisk(); }
  std::string onlyDisk() {
    const auto disks = statuskey::disks.read(frontEnd.status());
    return disks.size() == 1 && disks[0]->gptID() ? disks[0]->gptID()->stringValue() : "not one disk";
  }
  void configure() {
    ASSERT_EQ(frontEnd.call(DaemonMember::setBackupSource, onlyDisk().c_str()), code(ResultCode::success));
    ASSERT_EQ(frontEnd.call(DaemonMember::setTargetPath, archive().c_str()), code(ResultCode::success));
  }
  std::string archive() const { return folder.path("archives/Windows.rldbackup"); }
  std::string log() const { return folder.get("state/zpkhelper.log"); }

  TemporaryFolder folder;
  std::string diskFolder = folder.path("disks");
  ScratchFolder scratch;
  TestBus bus;
  TestFrontEnd frontEnd{bus};
  tests::ChildProcess helper;
};

TEST_F(HelperProgram, MakesABackupPointAndTellsItsCourse) {
  addSampleDisk();
  start();
  configure();
  frontEnd.checkIn(0);
  ASSERT_EQ(frontEnd.call(DaemonMember::backup), code(ResultCode::success));
  ASSERT_TRUE(frontEnd.waitForState([](const auto& status) {
    return isIdle(status) && statuskey::arcState.read(status) == ArcState::ready;
  })) << log();

  std::int64_t lastTime = 0;
  double lastPercent = 0;
  bool sawAll = false;
  std::string lastLine;
  for (const Dictionary& status : frontEnd.states) {
    EXPECT_GT(statuskey::stateTime.read(status), lastTime);
    lastTime = statuskey::stateTime.read(status);
    if (!isInProgress(status)) continue;
    const double percent = statuskey::progressPercents.read(status).doubleValue();
    EXPECT_GE(percent, lastPercent);
    lastPercent = percent;
    sawAll = sawAll || percent == 100;
    if (!statuskey::fullLog.read(status)->empty()) lastLine = *statuskey::fullLog.read(status)->back().text();
  }
  EXPECT_TRUE(sawAll);
  EXPECT_THAT(lastLine, HasSubstr("Backup point 1 is complete"));
  EXPECT_THAT(log(), HasSubstr("Read back and found sound"));
  const Dictionary& last = frontEnd.states.back();
  EXPECT_FALSE(statuskey::opError.isPresentIn(last)) << log();
  EXPECT_FALSE(statuskey::lastBackupError.isPresentIn(last)) << log();
  const auto item = statuskey::archiveDescription.read(last)->items().at(0);
  EXPECT_EQ(item->arcIndex(), 0U);
  ASSERT_EQ(item->disks().size(), 1U);
  EXPECT_EQ(item->disks()[0]->gptID()->stringValue(), onlyDisk());
  ASSERT_EQ(item->disks()[0]->partitions().size(), 2U) << "Microsoft Reserved and Windows";
  EXPECT_EQ(item->disks()[0]->partitions()[1]->fileSystemType(), 2);
  const auto image = std::filesystem::path(*item->indexFilePath()).parent_path() / "disk0.pvhd";
  mustRun("/usr/bin/qemu-img", {"check", "-q", "-f", "qcow2", image.string()});
}

TEST_F(HelperProgram, ASecondBackupIsAFurtherPoint) {
  addSampleDisk();
  start();
  configure();
  for (const std::size_t points : {1U, 2U}) {
    ASSERT_EQ(frontEnd.call(DaemonMember::backup), code(ResultCode::success));
    ASSERT_TRUE(frontEnd.waitFor([&] { return isIdle(frontEnd.status()); }));
    EXPECT_EQ(statuskey::archiveDescription.read(frontEnd.status())->items().size(), points) << log();
  }
}

TEST_F(HelperProgram, PointsArePinnedMergedAndKeptToTheLimit) {
  addSampleDisk();
  start();
  configure();
  frontEnd.checkIn(0);
  const auto items = [&] { return statuskey::archiveDescription.read(frontEnd.status())->items(); };
  const auto waitUntilIdle = [&] { return frontEnd.waitFor([&] { return isIdle(frontEnd.status()); }); };
  for (int point = 0; point < 3; ++point) {
    ASSERT_EQ(frontEnd.call(DaemonMember::backup), code(ResultCode::success));
    ASSERT_TRUE(waitUntilIdle());
  }
  EXPECT_THAT(log(), HasSubstr("Changed since the last backup point"));

  EXPECT_EQ(frontEnd.call(DaemonMember::pin, 1, std::uint64_t{0}, "first"), code(ResultCode::success));
  EXPECT_TRUE(items().at(0)->isPinned());
  EXPECT_EQ(items().at(0)->name(), "first");
  EXPECT_EQ(frontEnd.call(DaemonMember::mergeArchiveWithParent, std::uint64_t{0}), code(ResultCode::badIndex));
  EXPECT_EQ(frontEnd.call(DaemonMember::mergeArchiveWithParent, std::uint64_t{3}), code(ResultCode::badIndex));
  EXPECT_EQ(frontEnd.call(DaemonMember::pin, 0, std::uint64_t{0}, ""), code(ResultCode::success));
  EXPECT_FALSE(items().at(0)->isPinned());

  ASSERT_EQ(frontEnd.call(DaemonMember::mergeArchiveWithParent, std::uint64_t{1}), code(ResultCode::success));
  ASSERT_TRUE(frontEnd.waitForState([](const auto& status) {
    return isInProgress(status) && statuskey::progressType.read(status) == ProgressType::merge;
  })) << log();
  EXPECT_EQ(statuskey::mergeIndex.read(frontEnd.states.back()), 1U);
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(items().size(), 2U) << log();

  ASSERT_EQ(frontEnd.call(DaemonMember::setMaxIncrementsCount, std::uint64_t{1}), code(ResultCode::success));
  ASSERT_EQ(frontEnd.call(DaemonMember::backup), code(ResultCode::success));
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(items().size(), 2U) << log();
  EXPECT_THAT(log(), HasSubstr("2 increments, 1 are to be kept"));
  for (const auto& item : items()) {
    const auto image = std::filesystem::path(*item->indexFilePath()).parent_path() / "disk0.pvhd";
    mustRun("/usr/bin/qemu-img", {"check", "-q", "-f", "qcow2", image.string()});
  }
}

TEST_F(HelperProgram, AVolumeThatWasNotClosedIsRefusedWithWhatToDo) {
  addDiskThatWasNotClosed();
  start();
  configure();
  frontEnd.checkIn(0);
  ASSERT_EQ(frontEnd.call(DaemonMember::backup), code(ResultCode::success));
  ASSERT_TRUE(frontEnd.waitForState([](const auto& status) { return statuskey::opError.isPresentIn(status); }))
      << log();
  EXPECT_THAT(*statuskey::opError.read(frontEnd.states.back()), HasSubstr("start Windows"));
  // Shown once; the reason of the failed backup stays.
  ASSERT_TRUE(frontEnd.waitForState([](const auto& status) { return !statuskey::opError.isPresentIn(status); }));
  EXPECT_THAT(*statuskey::lastBackupError.read(frontEnd.states.back()), HasSubstr("start Windows"));
  EXPECT_FALSE(std::filesystem::exists(archive()));
}

TEST_F(HelperProgram, AVolumeThatWasNotClosedIsBackedUpWithoutTheCheck) {
  addDiskThatWasNotClosed();
  start();
  configure();
  ASSERT_EQ(frontEnd.call(DaemonMember::setCheckFS, 0), code(ResultCode::success));
  ASSERT_EQ(frontEnd.call(DaemonMember::backup), code(ResultCode::success));
  ASSERT_TRUE(frontEnd.waitFor([&] { return isIdle(frontEnd.status()); }));
  EXPECT_EQ(statuskey::arcState.read(frontEnd.status()), ArcState::ready) << log();
}

// A blank disk has no identifier of its own: all zeros stand for it.
TEST_F(HelperProgram, RestoresOntoABlankDiskWhichIsAWindowsDiskThen) {
  addSampleDisk();
  start();
  configure();
  ASSERT_EQ(frontEnd.call(DaemonMember::backup), code(ResultCode::success));
  ASSERT_TRUE(frontEnd.waitFor([&] { return isIdle(frontEnd.status()); }));
  const std::string lost = onlyDisk();
  std::filesystem::remove(folder.path("disks/sample.img"));
  std::ofstream(folder.path("disks/new.img"));
  std::filesystem::resize_file(folder.path("disks/new.img"), std::uint64_t{80} << 20U);
  frontEnd.checkIn(0);
  ASSERT_TRUE(frontEnd.waitForState([](const auto& status) {
    const auto disks = statuskey::disks.read(status);
    return disks.size() == 1 && disks[0]->name() == "new";
  })) << log();
  const auto blank = statuskey::disks.read(frontEnd.states.back()).at(0);
  ASSERT_TRUE(blank->isEmpty());
  const std::string zeros = blank->gptID()->stringValue();
  EXPECT_EQ(zeros, "00000000-0000-0000-0000-000000000000");
  ASSERT_EQ(frontEnd.call(DaemonMember::restore, std::uint64_t{0}, zeros.c_str(),
                          std::uint64_t{blank->diskNumber()}, std::uint64_t{0}),
            code(ResultCode::success));
  ASSERT_TRUE(frontEnd.waitForState([](const auto& status) {
    return isInProgress(status) && statuskey::progressType.read(status) == ProgressType::restore;
  })) << log();
  EXPECT_EQ(statuskey::restoreTarget.read(frontEnd.states.back())->name(), "new");
  ASSERT_TRUE(frontEnd.waitForState([](const auto& status) {
    const auto disks = statuskey::disks.read(status);
    return isIdle(status) && disks.size() == 1 && disks[0]->isBootCamp();
  })) << log();
  EXPECT_FALSE(statuskey::opError.isPresentIn(frontEnd.states.back())) << log();
  EXPECT_EQ(onlyDisk(), lost) << "it takes the place of the lost disk";
  const auto windows = statuskey::disks.read(frontEnd.states.back())[0]->objectForKeyedSubscript("winPartition");
  EXPECT_EQ(windows->fileSystemType(), 2);
  EXPECT_EQ(windows->name(), "BOOTCAMP");
  EXPECT_THAT(log(), HasSubstr("The restore is complete"));
}

TEST_F(HelperProgram, ARestoreThatWasCutOffIsToldAtTheNextStart) {
  useLargeDisk();
  start();
  configure();
  ASSERT_EQ(frontEnd.call(DaemonMember::backup), code(ResultCode::success));
  ASSERT_TRUE(frontEnd.waitFor([&] { return isIdle(frontEnd.status()); }));
  helper.kill();
  std::filesystem::create_directories(folder.path("targets"));
  std::ofstream(folder.path("targets/new.img"));
  std::filesystem::resize_file(folder.path("targets/new.img"), std::uint64_t{600} << 20U);
  diskFolder = folder.path("targets");
  start();
  const auto blank = statuskey::disks.read(frontEnd.status()).at(0);
  ASSERT_EQ(frontEnd.call(DaemonMember::restore, std::uint64_t{0}, blank->gptID()->stringValue().c_str(),
                          std::uint64_t{blank->diskNumber()}, std::uint64_t{0}),
            code(ResultCode::success));
  ASSERT_TRUE(frontEnd.waitFor([&] {
    return statuskey::progressPercents.read(frontEnd.status()).doubleValue() > 0;
  })) << log();
  helper.kill();
  start();
  EXPECT_THAT(*statuskey::opError.read(frontEnd.status()), HasSubstr("The restore onto \"new\" did not finish"));
  const auto after = statuskey::disks.read(frontEnd.status());
  ASSERT_EQ(after.size(), 1U) << "it can be repeated";
  EXPECT_TRUE(after[0]->isEmpty());
}

TEST_F(HelperProgram, AStoppedBackupLeavesNoArchiveWhereNoneWas) {
  useLargeDisk();
  start();
  configure();
  frontEnd.checkIn(0);
  ASSERT_EQ(frontEnd.call(DaemonMember::backup), code(ResultCode::success));
  ASSERT_TRUE(frontEnd.waitForState([](const auto& status) {
    return isInProgress(status) && statuskey::progressPercents.read(status).doubleValue() > 0;
  })) << log();
  EXPECT_EQ(frontEnd.call(DaemonMember::reload), code(ResultCode::serviceIsBusy));
  EXPECT_EQ(frontEnd.call(DaemonMember::backup), code(ResultCode::serviceIsBusy));
  EXPECT_EQ(frontEnd.call(DaemonMember::breakProgress), code(ResultCode::success));
  ASSERT_TRUE(frontEnd.waitForState(isIdle)) << log();
  EXPECT_FALSE(std::filesystem::exists(archive()));
  EXPECT_EQ(statuskey::arcState.read(frontEnd.states.back()), ArcState::empty);
  EXPECT_THAT(*statuskey::lastBackupError.read(frontEnd.states.back()), HasSubstr("stopped"));
}

TEST_F(HelperProgram, AKilledHelperComesBackWithItsSettingsAndTheTruth) {
  useLargeDisk();
  start();
  configure();
  frontEnd.call(DaemonMember::setMaxIncrementsCount, std::uint64_t{7});
  frontEnd.call(DaemonMember::setCheckFS, 0);
  frontEnd.call(DaemonMember::backup);
  const std::string source = onlyDisk();
  const std::int64_t before = statuskey::stateTime.read(frontEnd.status());
  ASSERT_TRUE(isInProgress(frontEnd.status())) << log();
  helper.kill();

  start();
  const Dictionary status = frontEnd.status();
  EXPECT_EQ(statuskey::sourceDisk.read(status), source);
  EXPECT_EQ(statuskey::targetArchive.read(status), archive());
  EXPECT_EQ(statuskey::maxIncCount.read(status), 7U);
  EXPECT_FALSE(statuskey::checkFS.read(status));
  EXPECT_GT(statuskey::stateTime.read(status), before);
  EXPECT_THAT(*statuskey::lastBackupError.read(status), HasSubstr("did not finish"));
  EXPECT_EQ(statuskey::arcState.read(status), ArcState::empty);
}

TEST_F(HelperProgram, EndsCleanlyWhenAskedToInTheMiddleOfABackup) {
  useLargeDisk();
  start();
  configure();
  frontEnd.call(DaemonMember::backup);
  ASSERT_TRUE(isInProgress(frontEnd.status())) << log();
  ::kill(helperProcess(), SIGTERM);
  helper.join();
  EXPECT_FALSE(std::filesystem::exists(archive()));
  EXPECT_THAT(folder.get("state/settings.json"), HasSubstr("\"backupRunning\": false"))
      << "what came of it is known before the helper ends";
  start();
  EXPECT_THAT(*statuskey::lastBackupError.read(frontEnd.status()), HasSubstr("the backup service ended"));
}

TEST_F(HelperProgram, EndsWithItsBus) {
  start();
  bus.kill();
  helper.join();
}

TEST_F(HelperProgram, TellsOfDisksThatComeAndGo) {
  start();
  frontEnd.checkIn(0);
  ASSERT_TRUE(frontEnd.waitForState([](const auto& status) { return statuskey::disks.read(status).empty(); }));
  addSampleDisk();
  ASSERT_TRUE(frontEnd.waitForState([](const auto& status) { return statuskey::disks.read(status).size() == 1; }))
      << log();
  std::filesystem::remove(folder.path("disks/sample.img"));
  EXPECT_TRUE(frontEnd.waitForState([](const auto& status) { return statuskey::disks.read(status).empty(); }));
}

TEST_F(HelperProgram, TellsEveryFrontEndAndAsksItOnceWhetherToReload) {
  start();
  TestFrontEnd second(bus);
  frontEnd.checkIn(0);
  second.checkIn(0);
  frontEnd.call(DaemonMember::setCheckFS, 0);
  const auto unchecked = [](const Dictionary& status) { return !statuskey::checkFS.read(status); };
  EXPECT_TRUE(frontEnd.waitForState(unchecked));
  EXPECT_TRUE(second.waitForState(unchecked));
  frontEnd.checkIn(statuskey::stateTime.read(frontEnd.states.back()));
  EXPECT_TRUE(frontEnd.waitFor([&] { return frontEnd.needReloadCalls == 1; }));
  EXPECT_TRUE(second.waitFor([&] { return second.needReloadCalls == 1; }));
}

TEST_F(HelperProgram, AFrontEndThatHangsOrDiesCostsTheOthersNothing) {
  start();
  TestFrontEnd hanging(bus);
  auto dying = std::make_unique<TestFrontEnd>(bus);
  EXPECT_EQ(hanging.checkIn(0), code(ResultCode::success));
  EXPECT_EQ(dying->checkIn(0), code(ResultCode::success));
  frontEnd.checkIn(0);
  dying.reset();
  for (int i = 0; i < 100; ++i) frontEnd.call(DaemonMember::setCheckFS, i % 2);
  const std::int64_t now = statuskey::stateTime.read(frontEnd.status());
  EXPECT_TRUE(frontEnd.waitForState([&](const auto& status) { return statuskey::stateTime.read(status) == now; }));
  // When it serves its connection again it gets what was under way and then the newest state, not the hundred
  // between.
  EXPECT_TRUE(hanging.waitForState([&](const auto& status) { return statuskey::stateTime.read(status) == now; }));
  EXPECT_LE(hanging.states.size(), 3U);
}

TEST_F(HelperProgram, AnswersNobodyButItsUser) {
  ASSERT_EQ(geteuid(), 0U) << "only root can act as another user";
  start();
  const std::string call = "busctl --address=" + bus.address() + " call " + kHelperBusName + " " +
                           kHelperObjectPath + " " + kDaemonInterface + " status 2>&1";
  const auto answer = [&](const std::string& how) {
    const CancelFlag never;
    return runTool(
        {"/bin/sh", {"-c", "export PATH=/usr/bin:/bin; " + how + call}, {}, ToolAccess::ReadsAndWrites, {}}, never);
  };
  EXPECT_TRUE(answer("")->succeeded());
  const auto refused = answer("setpriv --reuid=65534 --regid=65534 --clear-groups ");
  EXPECT_FALSE(refused->succeeded());
  EXPECT_THAT(refused->output, HasSubstr("Access denied"));
}

TEST_F(HelperProgram, GarbageInPlaceOfTheSettingsGivesTheDefaultsAndALine) {
  folder.put("state/settings.json", "{\"version\": 1, \"source\": [[[[");
  start();
  EXPECT_FALSE(statuskey::sourceDisk.isPresentIn(frontEnd.status()));
  EXPECT_TRUE(statuskey::checkFS.read(frontEnd.status()));
  EXPECT_THAT(log(), HasSubstr("the defaults are used"));
  EXPECT_EQ(folder.get("state/settings.json.unreadable"), "{\"version\": 1, \"source\": [[[[");
}

TEST_F(HelperProgram, CopiesItsLogIntoAFolderOfTheCallers) {
  start();
  std::filesystem::create_directory(folder.path("logs"));
  EXPECT_EQ(frontEnd.call(DaemonMember::collectLogsToPath, folder.path("logs").c_str()), code(ResultCode::success));
  EXPECT_THAT(folder.get("logs/zpkhelper.log"), HasSubstr("Serving on the session bus"));
  EXPECT_EQ(frontEnd.call(DaemonMember::collectLogsToPath, folder.path("nowhere").c_str()),
            code(ResultCode::noArchiveTargetDirectory));
}

TEST_F(HelperProgram, RefusesArgumentsOfOtherTypes) {
  start();
  EXPECT_EQ(sd_bus_call_method(frontEnd.bus(), kHelperBusName, kHelperObjectPath, kDaemonInterface, "setTargetPath",
                               nullptr, nullptr, "u", 7U),
            -EINVAL);
  EXPECT_EQ(sd_bus_call_method(frontEnd.bus(), kHelperBusName, kHelperObjectPath, kDaemonInterface,
                               "no_such_command", nullptr, nullptr, ""),
            -EBADR);
  EXPECT_TRUE(isIdle(frontEnd.status()));
}

TEST_F(HelperProgram, ASecondOneIsRefused) {
  start();
  const auto run = [&](const std::string& state) {
    return runHelper({"--session", "--state", state}, bus.address());
  };
  const ToolResult sameFolder = run(folder.path("state"));
  EXPECT_EQ(sameFolder.status, 1);
  EXPECT_THAT(sameFolder.errors, HasSubstr("another helper uses the folder"));
  const ToolResult sameBus = run(folder.path("other"));
  EXPECT_EQ(sameBus.status, 1);
  EXPECT_THAT(sameBus.errors, HasSubstr("another helper serves on this bus"));
}

}  // namespace
}  // namespace zpk::test
