// What a helper could send instead of what is expected, key by key.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "mainwindow/ControllerWorld.h"
#include "records/RLDPartition.h"

namespace zpk {
namespace {

enum class Expected { number, text, array, archive, disk };

struct KeyRow {
  std::string_view key;
  Expected expected;
};

constexpr KeyRow kRows[] = {
    {"statetime", Expected::number},
    {"state", Expected::number},
    {"operror", Expected::text},
    {"lastbackuperror", Expected::text},
    {"progressPercents", Expected::number},
    {"elapsedtime", Expected::number},
    {"remainingtime", Expected::number},
    {"fulllog", Expected::array},
    {"progresstype", Expected::number},
    {"archiveDescription", Expected::archive},
    {"mergeindex", Expected::number},
    {"restoretarget", Expected::disk},
    {"targetArchive", Expected::text},
    {"disks", Expected::array},
    {"sourceDisk", Expected::text},
    {"maxinccount", Expected::number},
    {"checkfs", Expected::number},
    {"arcState", Expected::number},
};

struct Sent {
  std::string name;
  Value value;
};

std::string endless() {
  return std::string(100'000, 'W');
}

// At least two of each kind of value, the extremes among them.
std::vector<Sent> everyKindOfValue() {
  using Limits = std::numeric_limits<double>;
  const auto disk = bootCampDisk(1, "<b>" + endless());
  return {
      {"false", false},
      {"true", true},
      {"0", 0},
      {"-1", -1},
      {"smallest", std::numeric_limits<std::int64_t>::min()},
      {"2^32", std::uint64_t{1} << 32},
      {"2^63", std::uint64_t{1} << 63},
      {"2^64-1", std::numeric_limits<std::uint64_t>::max()},
      {"1.5", 1.5},
      {"not a number", Limits::quiet_NaN()},
      {"infinity", Limits::infinity()},
      {"minus infinity", -Limits::infinity()},
      {"1e300", 1e300},
      {"empty text", ""},
      {"endless text", endless()},
      {"markup", "<img src=x onerror=y> &amp; <b>%s %n</b>"},
      {"control characters", std::string_view("\0\n\r\x1B[2J\x7F\t", 9)},
      {"direction characters", "\u202Egpj.exe\u2066\u200F"},
      {"no UTF-8", "\xFF\xC0\x80\xED\xA0\x80"},
      {"slashes", "////"},
      {"points", "../../.."},
      {"a number as text", "2"},
      {"bytes", Bytes(70'000, 0xFF)},
      {"no bytes", Bytes()},
      {"date", Date{1'700'000'000}},
      {"date that is none", Date{Limits::quiet_NaN()}},
      {"empty array", Array()},
      {"array of nothing", Array(100'000)},
      {"array of everything",
       Array{nullptr, true, -1, 0.5, "x", Bytes{1}, Date{0}, Array{Array()}, Dictionary(), disk}},
      {"empty dictionary", Dictionary()},
      {"dictionary", Dictionary{{"state", 1}, {"items", Array{1}}}},
      {"disk", disk},
      {"nameless disk", ZPKDisk::diskWithDisk(RLDDisk(RLDDisk::Fields{}))},
      {"archive", archiveOf({backupPoint(0, endless(), Limits::infinity()), backupPoint(0, "", 0)})},
      {"empty archive", archiveOf({})},
      {"archive of empty points", archiveOf({std::make_shared<const RLDArchiveItem>(RLDArchiveItem::Fields{}),
                                             std::make_shared<const RLDArchiveItem>(RLDArchiveItem::Fields{})})},
      {"partition", std::make_shared<const RLDPartition>(RLDPartition::Fields{})},
  };
}

bool isOfKind(Expected expected, const Value& value) {
  switch (expected) {
    case Expected::number:
      return value.isNumber();
    case Expected::text:
      return value.isText();
    case Expected::array:
      return value.isArray();
    case Expected::archive:
      return value.recordOf<RLDArchive>() != nullptr;
    case Expected::disk:
      return value.recordOf<RLDDisk>() != nullptr;
  }
  return false;
}

std::vector<Sent> everyState() {
  std::vector<Sent> states{{"ready", readyStatus()}, {"nothing known", Dictionary()}};
  const auto changed = [&states](const char* name, Dictionary status, auto key, auto value) {
    key.set(status, value);
    states.push_back({name, std::move(status)});
  };
  changed("busy", readyStatus(), statuskey::state, HelperState::busy);
  changed("empty archive", readyStatus(), statuskey::arcState, ArcState::empty);
  changed("archive away", readyStatus(), statuskey::arcState, ArcState::unavailable);
  changed("foreign archive", readyStatus(), statuskey::arcState, ArcState::foreign);
  Dictionary running = backupStatus(34, {"one", "two"});
  statuskey::mergeIndex.set(running, 1);
  statuskey::restoreTarget.set(running, bootCampDisk(3, "Target"));
  for (const ProgressType type : {ProgressType::backup, ProgressType::restore, ProgressType::merge}) {
    changed("in progress", running, statuskey::progressType, type);
  }
  return states;
}

// Everything that the controller shows, as one value.
Dictionary shownBy(ControllerWorld& world) {
  const ZPKUIDaemonController& ui = *world.controller;
  Dictionary shown{{"sourceFound", ui.sourceFound()},
                   {"arcSet", ui.arcSet()},
                   {"backupEnabled", ui.backupEnabled()},
                   {"progressPercents", ui.progressPercents()},
                   {"sourceInfo", ui.sourceInfo()},
                   {"destinationInfo", ui.destinationInfo()},
                   {"sourceIcon", nameOf(ui.sourceIcon())},
                   {"targetIcon", nameOf(ui.targetIcon())},
                   {"firstBackup", ui.firstBackup()},
                   {"lastBackup", ui.lastBackup()},
                   {"inProgress", ui.inProgress()},
                   {"elapsedTime", ui.elapsedTime()},
                   {"remainingTime", ui.remainingTime()},
                   {"errorDescription", ui.errorDescription()},
                   {"errorAdvice", ui.errorAdvice()},
                   {"lastBackupError", ui.lastBackupError()},
                   {"checkFS", ui.checkFS()},
                   {"maxIncCount", ui.maxIncCount()},
                   {"session", ui.modalSession()}};
  shown.set("log", ui.log() ? Value(*ui.log()) : Value());
  shown.set("points", ui.arcItems() ? Value(Array(ui.arcItems()->begin(), ui.arcItems()->end())) : Value());
  world.controller->checkIn();
  shown.set("lastStateTime", world.helper().lastCall("checkInWithPort_lastStateTime").arguments.back());
  return shown;
}

Dictionary shownAfter(const Dictionary& status) {
  ControllerWorld world;
  world.launch();
  world.push(status);
  return shownBy(world);
}

TEST(StatusKeys, TheTableHasEveryKeyOfTheStatus) {
  std::set<std::string_view> tested;
  for (const KeyRow& row : kRows) tested.insert(row.key);
  for (const StatusKeyRow& row : statuskey::kAll) EXPECT_EQ(tested.count(row.key), 1U) << row.key;
  EXPECT_EQ(std::size(kRows), statuskey::kAll.size());
}

// Parametrised by the key.
class EachStatusKey : public testing::TestWithParam<KeyRow> {};

TEST_P(EachStatusKey, OfAnotherKindReadsAsMissing) {
  const KeyRow row = GetParam();
  std::size_t compared = 0;
  for (const Sent& state : everyState()) {
    Dictionary without = *state.value.dictionary();
    without.remove(row.key);
    const Dictionary expected = shownAfter(without);
    for (const Sent& sent : everyKindOfValue()) {
      if (isOfKind(row.expected, sent.value)) continue;
      Dictionary status = without;
      status.set(row.key, sent.value);
      EXPECT_TRUE(shownAfter(status) == expected) << sent.name << " in " << state.name;
      ++compared;
    }
  }
  EXPECT_GT(compared, 100U);
}

TEST_P(EachStatusKey, OfItsKindIsTakenWhateverItHolds) {
  const KeyRow row = GetParam();
  ControllerWorld world;
  world.launch();
  for (const Sent& state : everyState()) {
    for (const Sent& sent : everyKindOfValue()) {
      if (!isOfKind(row.expected, sent.value)) continue;
      Dictionary status = *state.value.dictionary();
      status.set(row.key, sent.value);
      world.push(status);
      // Whatever was shown before, every gesture is possible, and a good record makes all good.
      for (std::int32_t session = 0; session <= 8; ++session) world.controller->setModalSession(session);
      world.controller->sheetOKAction();
      world.controller->sheetCancelAction();
      world.controller->backup();
      world.controller->sheetCancelAction();
      world.push(readyStatus());
      EXPECT_EQ(world.controller->sourceInfo()["name"], Value("BOOTCAMP")) << sent.name << " in " << state.name;
      EXPECT_TRUE(world.controller->backupEnabled()) << sent.name << " in " << state.name;
      EXPECT_EQ(world.controller->modalSession(), 0) << sent.name << " in " << state.name;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Keys, EachStatusKey, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.key); });

class ExtremeStatus : public testing::Test {
 protected:
  ExtremeStatus() { world.launch(); }
  const ZPKUIDaemonController& ui() const { return *world.controller; }
  void showReadyWith(std::string_view key, const Value& value) { showWith(readyStatus(), key, value); }
  void showRunningWith(std::string_view key, const Value& value) { showWith(backupStatus(1, {}), key, value); }
  void showWith(Dictionary status, std::string_view key, const Value& value) {
    status.set(key, value);
    world.push(status);
  }

  ControllerWorld world;
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
};

TEST_F(ExtremeStatus, NumbersKeepTheirLowBitsOrTheNearestBound) {
  showReadyWith("maxinccount", -1);
  EXPECT_EQ(ui().maxIncCount(), most);
  showReadyWith("maxinccount", std::numeric_limits<double>::infinity());
  EXPECT_EQ(ui().maxIncCount(), most);
  showReadyWith("maxinccount", std::nan(""));
  EXPECT_EQ(ui().maxIncCount(), 0U);
  showReadyWith("maxinccount", -5.5);
  EXPECT_EQ(ui().maxIncCount(), 0U);
}

TEST_F(ExtremeStatus, StatesBeyondTheirNamesAreUnknown) {
  for (const Value& number : {Value(-1), Value(4), Value(std::numeric_limits<std::int32_t>::max()), Value(most)}) {
    showReadyWith("arcState", number);
    EXPECT_FALSE(ui().arcSet());
    EXPECT_FALSE(ui().backupEnabled());
    EXPECT_TRUE(ui().destinationInfo().empty());
  }
  showReadyWith("arcState", 0);
  EXPECT_TRUE(ui().arcSet());
}

TEST_F(ExtremeStatus, TimesAreOf32BitsEach) {
  showRunningWith("elapsedtime", 90'061);
  EXPECT_EQ(ui().elapsedTime(), "25:01:01");
  // 2^64 - 1 seconds are 5124095576030431 hours, of which the low 32 bits are shown.
  showRunningWith("elapsedtime", -1);
  EXPECT_EQ(ui().elapsedTime(), "2023406815:00:15");
  showRunningWith("remainingtime", std::nan(""));
  EXPECT_EQ(ui().remainingTime(), "00:00:00");
}

TEST_F(ExtremeStatus, MergeIndexBeyondThePointsLeavesBothEndsAsTheyWere) {
  world.push(readyStatus());
  const Dictionary source = ui().sourceInfo();
  Dictionary merging = backupStatus(1, {});
  statuskey::progressType.set(merging, ProgressType::merge);
  for (const Value& index : {Value(0), Value(3), Value(-1), Value(most), Value(std::nan(""))}) {
    showWith(merging, "mergeindex", index);
    EXPECT_EQ(Value(ui().sourceInfo()), Value(source));
  }
  showWith(merging, "mergeindex", 2);
  EXPECT_NE(Value(ui().sourceInfo()), Value(source));
}

TEST_F(ExtremeStatus, FileSystemThatUsesMoreThanItsPartitionWrapsAround) {
  auto disk = bootCampDisk(1, "Disk")->fields();
  auto windows = disk.partitions->back()->fields();
  windows.partSize = 10;
  windows.partUsedSize = 11;
  windows.fileSystemType = std::numeric_limits<std::int64_t>::min();
  disk.partitions->back() = std::make_shared<const RLDPartition>(windows);
  showReadyWith("disks", Array{ZPKDisk::diskWithDisk(RLDDisk(disk))});
  EXPECT_EQ(ui().sourceInfo()["free"], Value(most));
  EXPECT_EQ(ui().sourceInfo()["fsname"], Value(""));
}

TEST_F(ExtremeStatus, ListsKeepWhatIsOfTheirKind) {
  Array disks(1000);
  disks.push_back("no disk");
  disks.push_back(bootCampDisk(1, "Disk"));
  showReadyWith("disks", disks);
  EXPECT_TRUE(ui().sourceFound());
  world.controller->selectSourceAction();
  EXPECT_EQ(world.sheets.shownAs<ZPKDisksListWindow>()->disksList().size(), 1U);
}

}  // namespace
}  // namespace zpk
