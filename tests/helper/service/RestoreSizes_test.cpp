// What the chooser of the program offers as the size of a restored Windows side, against what the helper then does:
// over many disks, both from the records that pass between them.

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "choosers/SizeSteps.h"
#include "choosers/ZPKDisksListWindow.h"
#include "helper/archive/GptTable.h"
#include "helper/disks/DiskRecord.h"
#include "helper/disks/PartitioningScheme.h"
#include "helper/service/ArchiveRecords.h"

namespace zpk {
namespace {

constexpr std::uint64_t mib = std::uint64_t{1} << 20U;
constexpr std::uint64_t gib = std::uint64_t{1} << 30U;
constexpr int rounds = 1500;

constexpr TMBGPTType efiType = TMBGPTType::EFISystem;
constexpr TMBGPTType macType = TMBGPTType::AppleHFSPlus;
constexpr TMBGPTType reservedType = TMBGPTType::MicrosoftReserved;
constexpr TMBGPTType windowsType = TMBGPTType::MicrosoftBasicData;
constexpr TMBGPTType recoveryType = TMBGPTType::WindowsRecovery;

struct English final : Localization {
  std::string localizedString(std::string_view key) const override { return std::string(key); }
};

// A disk in the making: partitions one behind the other, as the helper's scanner would find them.
class DiskMaker {
 public:
  explicit DiskMaker(std::uint32_t sectorSize) {
    _content.table.sectorSize = sectorSize;
    _content.table.schemes = PartitioningSchemeGpt;
    _content.table.diskGuid = GuidBytes{1, 2, 3};
  }

  void add(TMBGPTType type, std::uint64_t size, std::optional<NtfsFigures> ntfs = std::nullopt) {
    TableEntry entry;
    entry.number = static_cast<std::uint32_t>(_content.table.entries.size() + 1);
    entry.start = _end;
    entry.size = size;
    entry.typeGuid.emplace();
    TMBGUID::GUIDWithGPTType(type)->copyBytes(*entry.typeGuid);
    _content.table.entries.push_back(entry);
    VolumeReport volume;
    if (ntfs) volume.type = "ntfs";
    volume.ntfs = ntfs;
    _content.volumes.push_back(volume);
    _end += size;
  }
  std::uint64_t end() const { return _end; }

  std::shared_ptr<const ZPKDisk> made(std::uint64_t diskSize) {
    _content.table.diskSize = diskSize;
    FoundDisk found;
    found.name = "Disk";
    return ZPKDisk::diskWithDisk(diskRecordOf(found, _content, 1, ""));
  }

 private:
  DiskContent _content;
  std::uint64_t _end = mib;
};

class Chance {
 public:
  explicit Chance(unsigned seed) : _engine(seed) {}
  std::uint64_t between(std::uint64_t least, std::uint64_t most) {
    return std::uniform_int_distribution<std::uint64_t>(least, most)(_engine);
  }
  bool oneIn(std::uint64_t count) { return between(1, count) == 1; }
  std::uint64_t oneOf(std::initializer_list<std::uint64_t> values) {
    return values.begin()[between(0, values.size() - 1)];
  }

 private:
  std::mt19937_64 _engine;
};

NtfsFigures volumeOf(Chance& chance, std::uint64_t size) {
  const std::uint64_t cluster = chance.oneOf({512, 4096, 4096, 65536});
  const std::uint64_t clusters = (size - 512) / cluster;
  const std::uint64_t used = chance.oneIn(8) ? clusters : chance.between(1, clusters);
  return {clusters * cluster, used * cluster, std::min(size, (used + 2) * cluster), chance.oneIn(10)};
}

// A stored disk: Windows with what surrounds it on some machines.
StoredDisk storedBy(Chance& chance, std::uint32_t sectorSize) {
  const auto sectors = [&](std::uint64_t least, std::uint64_t most) {
    return chance.between(least / sectorSize, most / sectorSize) * sectorSize;
  };
  DiskMaker maker(sectorSize);
  maker.add(efiType, sectors(100 * mib, 300 * mib));
  if (chance.oneIn(3)) maker.add(macType, sectors(gib, 40 * gib));
  if (!chance.oneIn(3)) maker.add(reservedType, chance.oneOf({16 * mib, 128 * mib}));
  const bool isRecoveryFirst = chance.oneIn(2);
  const auto addRecovery = [&] {
    const std::uint64_t size = sectors(300 * mib, 1000 * mib);
    maker.add(recoveryType, size, volumeOf(chance, size));
  };
  if (isRecoveryFirst && !chance.oneIn(3)) addRecovery();
  const std::uint64_t size = sectors(gib, chance.oneOf({4 * gib, 200 * gib, 4000 * gib}));
  maker.add(windowsType, size, chance.oneIn(12) ? std::nullopt : std::optional(volumeOf(chance, size)));
  if (!isRecoveryFirst && !chance.oneIn(3)) addRecovery();
  const auto disk = maker.made(maker.end() + 10 * gib);
  StoredDisk stored = storedDisk(*disk);
  // What a backup finds out when it looks into the volumes.
  for (std::size_t i = 0; i < stored.partitions.size(); ++i) {
    StoredPartition& partition = stored.partitions[i];
    if (partition.content == PartitionContent::NotStored) continue;
    const bool isNtfs = disk->partitions()[i]->fileSystemType() == static_cast<std::int64_t>(FileSystemType::NTFS);
    partition.content = isNtfs ? PartitionContent::UsedClusters : PartitionContent::Whole;
  }
  return stored;
}

// A disk to restore onto that has about as much room as is needed: less, just that, or more.
std::shared_ptr<const ZPKDisk> targetBy(Chance& chance, TargetUse use, std::uint32_t sectorSize,
                                        std::uint64_t need) {
  const std::uint64_t slack = chance.oneOf({0, 0, sectorSize, mib - sectorSize, mib, 20 * mib, 700 * mib, 2 * gib});
  const std::uint64_t wish = chance.oneIn(4) ? need - std::min(need - sectorSize, slack) : need + slack;
  const std::uint64_t room = std::max<std::uint64_t>(wish / sectorSize, 1) * sectorSize;
  DiskMaker maker(sectorSize);
  switch (use) {
    case TargetUse::WindowsPartition:
      maker.add(efiType, 200 * mib);
      maker.add(macType, chance.between(1, 5000) * 7 * mib + 3 * sectorSize);
      maker.add(windowsType, room);
      return maker.made(maker.end() + 5 * mib);
    case TargetUse::FreeSpace:
      maker.add(efiType, 200 * mib);
      maker.add(macType, chance.between(1, 5000) * 7 * mib + chance.between(0, 300) * sectorSize);
      if (chance.oneIn(4)) maker.add(reservedType, 16 * mib);
      return maker.made(maker.end() + room + chance.oneOf({0, mib, 2 * mib}));
    case TargetUse::WholeDisk:
      break;
  }
  return maker.made(room + chance.oneOf({0, mib, 2 * mib, 202 * mib, gib}));
}

// The megabytes that a refusal says are needed.
std::uint64_t neededBy(const std::string& refusal) {
  const std::string words = " needs ";
  const std::size_t at = refusal.find(words);
  return at == std::string::npos ? 0 : std::stoull(refusal.substr(at + words.size())) * 1'000'000;
}

// The same target with as much room as a refusal has named.
TargetLayout enlarged(TargetLayout target, TargetUse use, std::uint64_t needed) {
  const std::uint64_t room = divideUp(needed, target.sectorSize) * target.sectorSize;
  if (use == TargetUse::WholeDisk) target.size = room;
  if (use == TargetUse::WindowsPartition) target.partitions.back().size = room;
  // A free stretch begins and ends on whole mebibytes.
  if (use == TargetUse::FreeSpace) {
    target.size =
        roundUp(target.partitions.back().start + target.partitions.back().size, mib) + roundUp(room, mib) + mib;
  }
  return target;
}

class RestoreSizes : public testing::TestWithParam<TargetUse> {
 protected:
  void run(unsigned round) {
    Chance chance(round);
    const auto sectorSize = static_cast<std::uint32_t>(chance.oneOf({512, 4096}));
    stored = storedBy(chance, sectorSize);
    // As the main window takes it for the smallest size.
    const std::uint64_t need = storedDiskRecord(stored, "")->partitions().back()->partMinSize();
    const auto disk = targetBy(chance, GetParam(), sectorSize, need);
    ASSERT_TRUE(disk);
    ASSERT_EQ(targetUse(*disk), GetParam());
    target = targetLayout(*disk);
    ZPKDisksListWindow chooser(english);
    chooser.setType(ZPKDisksListWindow::kRestoreType);
    chooser.setDisksList({disk});
    chooser.setMinRestoreSize(need);
    chooser.orderWindow(ZPKDisksListWindow::Ordering::in);
    if (!chooser.actionEnabled()) return expectRefused(need);
    if (GetParam() != TargetUse::FreeSpace) return expectDone(chooser.restoreSize().value_or(0));
    const SizeSteps sizes(chooser.sliderMinimum(), chooser.sliderMaximum());
    for (const int step : {0, 1, sizes.last() / 2, sizes.last() - 1, sizes.last()}) expectDone(sizes.sizeAt(step));
  }

  ArchiveResult<RestorePlan> planned(std::uint64_t size) const {
    return planRestore(stored, target, GetParam(), size);
  }

  void expectRefused(std::uint64_t need) {
    const auto plan = planned(need);
    ASSERT_FALSE(plan.hasValue()) << "the chooser refuses what would have been done";
    ++met["refused by both"];
    expectThatItNamesWhatWorks(plan.error().message, need);
  }

  void expectDone(std::uint64_t size) {
    const auto plan = planned(size);
    if (!plan && GetParam() == TargetUse::WholeDisk) {
      // What Windows starts from takes room too, which the chooser does not know of.
      ++met["refused by the helper alone"];
      return expectThatItNamesWhatWorks(plan.error().message, 0);
    }
    ASSERT_TRUE(plan.hasValue()) << "offered is " << size << ": " << plan.error().message;
    ++met["done"];
    const PartitionMove& windows = plan->moves[plan->windows];
    EXPECT_GE(windows.place.size(), leastRoomFor(stored.partitions[windows.stored]));
    if (GetParam() == TargetUse::FreeSpace) {
      EXPECT_LE(windows.place.size(), roundUp(size, mib));
      if (windows.place.size() < roundUp(size, mib)) {
        EXPECT_FALSE(plan->remarks.empty());
        ++met["less than chosen"];
      }
    }
    expectThatNothingOverlaps(*plan);
  }

  void expectThatNothingOverlaps(const RestorePlan& plan) const {
    if (plan.entries.empty()) return;
    std::uint64_t behind = mib;
    if (plan.use == TargetUse::FreeSpace) behind = target.partitions.back().start + target.partitions.back().size;
    for (const PlannedEntry& entry : plan.entries) {
      EXPECT_GE(entry.place.start, behind);
      EXPECT_GT(entry.place.end, entry.place.start);
      behind = entry.place.end;
    }
    EXPECT_LE(behind, target.size - mib);
  }

  void expectThatItNamesWhatWorks(const std::string& refusal, std::uint64_t size) {
    const std::uint64_t needed = neededBy(refusal);
    ASSERT_GT(needed, 0U) << refusal;
    target = enlarged(target, GetParam(), needed);
    const auto plan = planned(size);
    EXPECT_TRUE(plan.hasValue()) << "it said: " << refusal << "; with that much: " << plan.error().message;
  }

  English english;
  StoredDisk stored;
  TargetLayout target;
  std::map<std::string, int> met;
};

TEST_P(RestoreSizes, WhatTheChooserOffersIsDoneAndWhatItRefusesCannotBe) {
  for (unsigned round = 0; round < rounds; ++round) {
    run(round);
    ASSERT_FALSE(HasFailure()) << "in round " << round;
  }
  EXPECT_GT(met["done"], rounds / 4);
  EXPECT_GT(met["refused by both"], rounds / 20);
  // Each kind of disk has its own way of being just too small.
  const bool isWhole = GetParam() == TargetUse::WholeDisk;
  EXPECT_EQ(met["refused by the helper alone"] > rounds / 20, isWhole);
  EXPECT_EQ(met["less than chosen"] > rounds / 20, GetParam() == TargetUse::FreeSpace);
}

INSTANTIATE_TEST_SUITE_P(Onto, RestoreSizes,
                         testing::Values(TargetUse::WindowsPartition, TargetUse::FreeSpace, TargetUse::WholeDisk),
                         [](const auto& each) -> std::string {
                           switch (each.param) {
                             case TargetUse::WindowsPartition:
                               return "AWindowsPartition";
                             case TargetUse::FreeSpace:
                               return "FreeSpace";
                             case TargetUse::WholeDisk:
                               break;
                           }
                           return "AnEmptyDisk";
                         });

}  // namespace
}  // namespace zpk
