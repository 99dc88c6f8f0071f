#include "helperlink/StatusRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "base/KeyedArchive.h"
#include "base/KeyedCoder.h"
#include "base/Record.h"
#include "records/RLDArchive.h"
#include "records/RecordClasses.h"
#include "records/ZPKDisk.h"

namespace zpk {
namespace {

using testing::ElementsAre;

class Shape : public Record {
 public:
  std::string_view className() const override { return "Shape"; }
  void encodeWithCoder(KeyedEncoder&) const override {}
};
class Square final : public Shape {
 public:
  std::string_view className() const override { return "Square"; }
};
class Stranger final : public Record {
 public:
  std::string_view className() const override { return "Stranger"; }
  void encodeWithCoder(KeyedEncoder&) const override {}
};

constexpr StatusKey<RecordOf<Shape>> kShape{"shape", "a record"};
constexpr StatusKey<ListOf<Shape>> kShapes{"shapes", "records"};

TEST(StatusRecord, HasItsKeysInTheirOrder) {
  std::vector<std::string_view> keys;
  for (const StatusKeyRow& row : statuskey::kAll) keys.push_back(row.key);
  EXPECT_THAT(keys, ElementsAre("statetime", "state", "operror", "lastbackuperror", "progressPercents",
                                "elapsedtime", "remainingtime", "fulllog", "progresstype", "archiveDescription",
                                "mergeindex", "restoretarget", "targetArchive", "disks", "sourceDisk",
                                "maxinccount", "checkfs", "arcState"));
}

TEST(StatusRecord, AnEmptyRecordReadsAsIdleAndNothingElse) {
  const Dictionary status;
  EXPECT_EQ(statuskey::stateTime.read(status), 0);
  EXPECT_EQ(statuskey::state.read(status), HelperState::idle);
  EXPECT_EQ(statuskey::opError.read(status), std::nullopt);
  EXPECT_EQ(statuskey::lastBackupError.read(status), std::nullopt);
  EXPECT_EQ(statuskey::progressPercents.read(status), Value(0));
  EXPECT_EQ(statuskey::elapsedTime.read(status), 0u);
  EXPECT_EQ(statuskey::remainingTime.read(status), 0u);
  EXPECT_EQ(statuskey::fullLog.read(status), nullptr);
  EXPECT_EQ(statuskey::progressType.read(status), ProgressType::backup);
  EXPECT_EQ(statuskey::mergeIndex.read(status), 0u);
  EXPECT_EQ(statuskey::targetArchive.read(status), std::nullopt);
  EXPECT_EQ(statuskey::sourceDisk.read(status), std::nullopt);
  EXPECT_EQ(statuskey::maxIncCount.read(status), 0u);
  EXPECT_FALSE(statuskey::checkFS.read(status));
  EXPECT_EQ(statuskey::arcState.read(status), ArcState::ready);
  EXPECT_EQ(kShape.read(status), nullptr);
  EXPECT_TRUE(kShapes.read(status).empty());
  EXPECT_FALSE(statuskey::state.isPresentIn(status));
}

TEST(StatusRecord, ValuesOfAnotherKindReadAsMissing) {
  const Dictionary status{{"state", "busy"},       {"operror", 3},        {"progressPercents", "half"},
                          {"elapsedtime", "1"},    {"fulllog", "a line"}, {"checkfs", "yes"},
                          {"shape", Dictionary{}}, {"shapes", 7}};
  EXPECT_EQ(statuskey::state.read(status), HelperState::idle);
  EXPECT_EQ(statuskey::opError.read(status), std::nullopt);
  EXPECT_EQ(statuskey::progressPercents.read(status), Value(0));
  EXPECT_EQ(statuskey::elapsedTime.read(status), 0u);
  EXPECT_EQ(statuskey::fullLog.read(status), nullptr);
  EXPECT_FALSE(statuskey::checkFS.read(status));
  EXPECT_EQ(kShape.read(status), nullptr);
  EXPECT_TRUE(kShapes.read(status).empty());
}

TEST(StatusRecord, EveryStateHasItsNumber) {
  const auto read = [](Value number) { return statuskey::state.read(Dictionary{{"state", std::move(number)}}); };
  EXPECT_EQ(read(0), HelperState::idle);
  EXPECT_EQ(read(1), HelperState::busy);
  EXPECT_EQ(read(2u), HelperState::inProgress);
  EXPECT_EQ(read(3), HelperState::unknown);
  EXPECT_EQ(read(-1), HelperState::unknown);
  EXPECT_EQ(read(std::numeric_limits<std::int32_t>::min()), HelperState::unknown);
  EXPECT_EQ(read(0xffffffffu), HelperState::unknown);
}

TEST(StatusRecord, EveryProgressTypeHasItsNumber) {
  const auto read = [](int number) { return statuskey::progressType.read(Dictionary{{"progresstype", number}}); };
  EXPECT_EQ(read(0), ProgressType::backup);
  EXPECT_EQ(read(1), ProgressType::restore);
  EXPECT_EQ(read(2), ProgressType::merge);
  EXPECT_EQ(read(3), ProgressType::unknown);
  EXPECT_EQ(read(-7), ProgressType::unknown);
}

TEST(StatusRecord, EveryArchiveStateHasItsNumber) {
  const auto read = [](int number) { return statuskey::arcState.read(Dictionary{{"arcState", number}}); };
  EXPECT_EQ(read(0), ArcState::ready);
  EXPECT_EQ(read(1), ArcState::empty);
  EXPECT_EQ(read(2), ArcState::unavailable);
  EXPECT_EQ(read(3), ArcState::foreign);
  EXPECT_EQ(read(4), ArcState::unknown);
  EXPECT_EQ(read(-1), ArcState::unknown);
}

TEST(StatusRecord, WhatIsWrittenIsReadBack) {
  Dictionary status;
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  statuskey::stateTime.set(status, std::numeric_limits<std::int64_t>::min());
  statuskey::state.set(status, HelperState::inProgress);
  statuskey::opError.set(status, "disk full");
  statuskey::elapsedTime.set(status, kMost);
  statuskey::progressType.set(status, ProgressType::merge);
  statuskey::checkFS.set(status, true);
  statuskey::arcState.set(status, ArcState::foreign);
  EXPECT_EQ(statuskey::stateTime.read(status), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(statuskey::state.read(status), HelperState::inProgress);
  EXPECT_EQ(statuskey::opError.read(status), "disk full");
  EXPECT_EQ(statuskey::elapsedTime.read(status), kMost);
  EXPECT_EQ(statuskey::progressType.read(status), ProgressType::merge);
  EXPECT_TRUE(statuskey::checkFS.read(status));
  EXPECT_EQ(statuskey::arcState.read(status), ArcState::foreign);
}

TEST(StatusRecord, EveryKeyIsReadUnderItsOwnName) {
  constexpr std::uint64_t kBig = 0xf000000000000000;
  const auto archive = std::make_shared<const RLDArchive>(RLDArchive::Fields{});
  const auto target = std::make_shared<const RLDDisk>(RLDDisk::Fields{});
  const auto disk = ZPKDisk::diskWithDisk(*target);
  const Dictionary status{{"statetime", -3},
                          {"state", 1},
                          {"operror", "an error"},
                          {"lastbackuperror", "a backup's error"},
                          {"progressPercents", 41.5},
                          {"elapsedtime", kBig + 1},
                          {"remainingtime", kBig + 2},
                          {"fulllog", Array{"line"}},
                          {"progresstype", 2},
                          {"archiveDescription", archive},
                          {"mergeindex", kBig + 3},
                          {"restoretarget", target},
                          {"targetArchive", "/archive"},
                          {"disks", Array{disk}},
                          {"sourceDisk", "an identifier"},
                          {"maxinccount", kBig + 4},
                          {"checkfs", true},
                          {"arcState", 3}};
  EXPECT_EQ(statuskey::stateTime.read(status), -3);
  EXPECT_EQ(statuskey::state.read(status), HelperState::busy);
  EXPECT_EQ(statuskey::opError.read(status), "an error");
  EXPECT_EQ(statuskey::lastBackupError.read(status), "a backup's error");
  EXPECT_EQ(statuskey::progressPercents.read(status), Value(41.5));
  EXPECT_EQ(statuskey::elapsedTime.read(status), kBig + 1);
  EXPECT_EQ(statuskey::remainingTime.read(status), kBig + 2);
  EXPECT_THAT(*statuskey::fullLog.read(status), ElementsAre(Value("line")));
  EXPECT_EQ(statuskey::progressType.read(status), ProgressType::merge);
  EXPECT_EQ(statuskey::archiveDescription.read(status), archive);
  EXPECT_EQ(statuskey::mergeIndex.read(status), kBig + 3);
  EXPECT_EQ(statuskey::restoreTarget.read(status), target);
  EXPECT_EQ(statuskey::targetArchive.read(status), "/archive");
  EXPECT_THAT(statuskey::disks.read(status), ElementsAre(disk));
  EXPECT_EQ(statuskey::sourceDisk.read(status), "an identifier");
  EXPECT_EQ(statuskey::maxIncCount.read(status), kBig + 4);
  EXPECT_TRUE(statuskey::checkFS.read(status));
  EXPECT_EQ(statuskey::arcState.read(status), ArcState::foreign);
  EXPECT_EQ(statuskey::kAll.size(), status.size());
}

TEST(StatusRecord, StatesAreReadAs32Bits) {
  const std::int64_t wide = (std::int64_t{1} << 32) + 2;
  const Dictionary status{{"state", wide}, {"progresstype", wide}, {"arcState", wide}};
  EXPECT_EQ(statuskey::state.read(status), HelperState::inProgress);
  EXPECT_EQ(statuskey::progressType.read(status), ProgressType::merge);
  EXPECT_EQ(statuskey::arcState.read(status), ArcState::unavailable);
}

TEST(StatusRecord, NumbersAreWrittenAsTheNumbersOfTheTable) {
  Dictionary status;
  statuskey::state.set(status, HelperState::busy);
  statuskey::arcState.set(status, ArcState::unavailable);
  EXPECT_EQ(status, (Dictionary{{"state", 1}, {"arcState", 2}}));
}

TEST(StatusRecord, WritingAnAbsentValueTakesTheKeyOut) {
  Dictionary status{{"operror", "old"}, {"shape", std::make_shared<const Shape>()}, {"progressPercents", 3}};
  statuskey::opError.set(status, std::nullopt);
  kShape.set(status, nullptr);
  statuskey::progressPercents.set(status, Value());
  EXPECT_TRUE(status.empty());
}

TEST(StatusRecord, AnEmptyTextIsPresent) {
  Dictionary status;
  statuskey::opError.set(status, "");
  EXPECT_TRUE(statuskey::opError.isPresentIn(status));
  EXPECT_EQ(statuskey::opError.read(status), "");
}

TEST(StatusRecord, ProgressIsHandedOnAsItCame) {
  EXPECT_TRUE(statuskey::progressPercents.read(Dictionary{{"progressPercents", 12.5}}).isReal());
  EXPECT_TRUE(statuskey::progressPercents.read(Dictionary{{"progressPercents", 12u}}).isUnsigned());
}

TEST(StatusRecord, TheLogIsSharedNotCopied) {
  Dictionary status;
  const Value lines = Array{"first line", "second line"};
  statuskey::fullLog.set(status, lines);
  const std::shared_ptr<const Array> log = statuskey::fullLog.read(status);
  ASSERT_NE(log, nullptr);
  EXPECT_THAT(*log, ElementsAre(Value("first line"), Value("second line")));
  EXPECT_EQ(log, lines.sharedArray());
}

TEST(StatusRecord, ARecordIsReadAsItsClassOrASubclass) {
  const auto square = std::make_shared<const Square>();
  EXPECT_EQ(kShape.read(Dictionary{{"shape", square}}), square);
  EXPECT_EQ(kShape.read(Dictionary{{"shape", std::make_shared<const Stranger>()}}), nullptr);
}

TEST(StatusRecord, AListLeavesOutWhatIsNoSuchRecord) {
  const auto shape = std::make_shared<const Shape>();
  const auto square = std::make_shared<const Square>();
  const Dictionary mixed{{"shapes", Array{shape, Value(), "text", std::make_shared<const Stranger>(), square}}};
  EXPECT_THAT(kShapes.read(mixed), ElementsAre(shape, square));

  Dictionary written;
  kShapes.set(written, {shape, square});
  EXPECT_THAT(kShapes.read(written), ElementsAre(shape, square));
  kShapes.set(written, {});
  EXPECT_TRUE(kShapes.isPresentIn(written)) << "no disks is an empty list, not a missing one";
}

TEST(StatusRecord, DisksAndArchiveCrossByCopyUnderTheirKeys) {
  RLDDisk::Fields fields;
  fields.diskNumber = 16;
  fields.diskSize = std::uint64_t{1} << 40;
  fields.name = "Spare";
  fields.gptID = TMBGUID();
  fields.partitions.emplace();
  const auto target = std::make_shared<const RLDDisk>(fields);
  const std::shared_ptr<const ZPKDisk> disk = ZPKDisk::diskWithDisk(*target);
  ASSERT_NE(disk, nullptr);

  Dictionary sent;
  statuskey::restoreTarget.set(sent, target);
  statuskey::disks.set(sent, {disk});
  statuskey::archiveDescription.set(sent, std::make_shared<const RLDArchive>(RLDArchive::Fields{}));

  const auto arrived = unarchivedValue(archivedData(sent), recordClasses());
  ASSERT_TRUE(arrived.hasValue());
  const Dictionary* status = arrived->dictionary();
  ASSERT_NE(status, nullptr);
  ASSERT_NE(statuskey::restoreTarget.read(*status), nullptr);
  EXPECT_EQ(*statuskey::restoreTarget.read(*status), *target);
  ASSERT_EQ(statuskey::disks.read(*status).size(), 1u);
  EXPECT_EQ(*statuskey::disks.read(*status).front(), *disk);
  EXPECT_NE(statuskey::archiveDescription.read(*status), nullptr);
}

}  // namespace
}  // namespace zpk
