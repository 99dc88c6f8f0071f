#include "helper/archive/RestorePlan.h"

#include <algorithm>

#include "helper/archive/GptTable.h"

namespace zpk {
namespace {

// New partitions begin and end on whole mebibytes, and the table's copies keep the first and the last.
constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20U;

ArchiveError refused(std::string message) {
  return {ArchiveFault::Refused, std::move(message), {}, 0, 0};
}

bool isWindows(const StoredPartition& partition) {
  return partition.content != PartitionContent::NotStored && partition.typeGuid == gpttype::microsoftBasicData;
}

ByteRange rangeOf(const StoredPartition& partition) {
  return {partition.start, partition.start + partition.size};
}

// What the volume needs wherever it goes. Only one whose file system the tools know can be made smaller.
std::uint64_t leastSize(const StoredPartition& windows) {
  if (windows.content != PartitionContent::UsedClusters) return windows.size;
  return std::min(windows.minSize, windows.size);
}

ByteRange wholeMebibytes(ByteRange range) {
  const ByteRange inner{roundUp(range.start, mebibyte), roundDown(range.end, mebibyte)};
  return inner.end > inner.start ? inner : ByteRange{inner.start, inner.start};
}

ByteRange usableRange(const TargetLayout& target) {
  return wholeMebibytes({mebibyte, target.size < 2 * mebibyte ? mebibyte : target.size - mebibyte});
}

ByteRange largestFreeStretch(const TargetLayout& target) {
  std::vector<TargetPartition> partitions = target.partitions;
  std::ranges::sort(partitions, {}, &TargetPartition::start);
  const ByteRange usable = usableRange(target);
  ByteRange largest{usable.start, usable.start};
  std::uint64_t begin = usable.start;
  const auto measure = [&](std::uint64_t end) {
    const ByteRange stretch = wholeMebibytes({begin, std::min(end, usable.end)});
    if (stretch.size() > largest.size()) largest = stretch;
  };
  for (const TargetPartition& partition : partitions) {
    if (partition.start > begin) measure(partition.start);
    begin = std::max(begin, partition.start + partition.size);
  }
  if (usable.end > begin) measure(usable.end);
  return largest;
}

class Planner {
 public:
  Planner(const StoredDisk& stored, const TargetLayout& target, TargetUse use) : _stored(stored), _target(target) {
    _plan.use = use;
  }

  ArchiveResult<RestorePlan> run(std::uint64_t wantedSize) {
    ArchiveResult<Done> step = findWindows();
    if (step) step = checkSectors();
    if (step) step = place(wantedSize);
    if (!step) return step.error();
    return std::move(_plan);
  }

 private:
  const StoredPartition& windows() const { return _stored.partitions[_windows]; }

  ArchiveResult<Done> findWindows() {
    const auto found = std::ranges::find_if(_stored.partitions, isWindows);
    if (found == _stored.partitions.end()) return refused("The backup point holds no Windows partition");
    _windows = static_cast<std::size_t>(found - _stored.partitions.begin());
    return Done{};
  }

  ArchiveResult<Done> checkSectors() const {
    if (_stored.sectorSize == _target.sectorSize) return Done{};
    return refused("The backup was made from a disk with sectors of " + std::to_string(_stored.sectorSize) +
                   " bytes, and those of this disk have " + std::to_string(_target.sectorSize) +
                   "; Windows could not start from it. Choose another disk");
  }

  ArchiveResult<Done> place(std::uint64_t wantedSize) {
    switch (_plan.use) {
      case TargetUse::WindowsPartition:
        return placeInPartition();
      case TargetUse::FreeSpace:
        return placeInFreeSpace(wantedSize);
      case TargetUse::WholeDisk:
        return placeOnWholeDisk();
    }
    return Done{};
  }

  ArchiveResult<Done> placeInPartition() {
    const auto found = std::ranges::find(_target.partitions, gpttype::microsoftBasicData, &TargetPartition::type);
    if (found == _target.partitions.end()) return refused("The disk has no Windows partition");
    if (found->size < leastSize(windows())) return tooSmall(found->size, leastSize(windows()));
    for (std::size_t i = 0; i < _stored.partitions.size(); ++i) {
      if (i == _windows || _stored.partitions[i].content == PartitionContent::NotStored) continue;
      _plan.remarks.push_back("Partition " + std::to_string(_stored.partitions[i].number) +
                              " of the backup point is not restored: only the Windows partition of the disk is "
                              "replaced");
    }
    addMove(_windows, {found->start, found->start + found->size});
    return Done{};
  }

  ArchiveResult<Done> placeInFreeSpace(std::uint64_t wantedSize) {
    const ByteRange stretch = largestFreeStretch(_target);
    if (wantedSize > stretch.size()) {
      return refused("The disk has a free stretch of " + megabytesText(stretch.size()) +
                     ", which is less than the chosen size of " + megabytesText(wantedSize));
    }
    // Up: the least size that a volume can have is one that may be chosen.
    return layOut({stretch.start, stretch.start + roundUp(wantedSize, mebibyte)});
  }

  ArchiveResult<Done> placeOnWholeDisk() {
    ByteRange room = usableRange(_target);
    const auto efi = std::ranges::find(_stored.partitions, gpttype::efiSystem, &StoredPartition::typeGuid);
    if (efi != _stored.partitions.end()) {
      const std::uint64_t size = roundUp(efi->size, mebibyte);
      if (size > room.size()) return tooSmall(room.size(), size + neededWithOthers());
      _plan.entries.push_back({{room.start, room.start + size}, gpttype::efiSystem, {}});
      room.start += size;
    }
    return layOut(room);
  }

  // Whether the partition at that place of the stored disk gets one of its own in a new layout.
  bool takesPart(std::size_t index) const {
    const StoredPartition& partition = _stored.partitions[index];
    if (index == _windows) return true;
    return partition.content != PartitionContent::NotStored && !targetKeepsOneLike(partition);
  }

  bool targetKeepsOneLike(const StoredPartition& partition) const {
    return _plan.use == TargetUse::FreeSpace &&
           std::ranges::find(_target.partitions, partition.typeGuid, &TargetPartition::type) !=
               _target.partitions.end();
  }

  std::uint64_t sizeOfOthers() const {
    std::uint64_t size = 0;
    for (std::size_t i = 0; i < _stored.partitions.size(); ++i) {
      if (i != _windows && takesPart(i)) size += roundUp(_stored.partitions[i].size, mebibyte);
    }
    return size;
  }
  std::uint64_t neededWithOthers() const { return sizeOfOthers() + roundUp(leastSize(windows()), mebibyte); }

  // All stored partitions in their order; the Windows volume gets what the others leave of the room.
  ArchiveResult<Done> layOut(ByteRange room) {
    if (room.size() < neededWithOthers()) return tooSmall(room.size(), neededWithOthers());
    const std::uint64_t windowsSize = room.size() - sizeOfOthers();
    std::uint64_t next = room.start;
    for (std::size_t i = 0; i < _stored.partitions.size(); ++i) {
      const StoredPartition& partition = _stored.partitions[i];
      if (!takesPart(i)) {
        if (partition.content != PartitionContent::NotStored) {
          _plan.remarks.push_back("Partition " + std::to_string(partition.number) +
                                  " of the backup point is not restored: the disk has one of its kind");
        }
        continue;
      }
      const std::uint64_t size = i == _windows ? windowsSize : roundUp(partition.size, mebibyte);
      addMove(i, {next, next + size});
      _plan.entries.push_back({{next, next + size}, partition.typeGuid, i});
      next += size;
    }
    return Done{};
  }

  void addMove(std::size_t index, ByteRange place) {
    if (index == _windows) _plan.windows = _plan.moves.size();
    _plan.moves.push_back({index, rangeOf(_stored.partitions[index]), place});
  }

  static ArchiveError tooSmall(std::uint64_t have, std::uint64_t need) {
    return refused("The backup point needs " + megabytesText(need) + " on the disk and there are " +
                   std::to_string(have / 1'000'000) + " MB for it");
  }

  const StoredDisk& _stored;
  const TargetLayout& _target;
  RestorePlan _plan;
  std::size_t _windows = 0;
};

}  // namespace

ArchiveResult<RestorePlan> planRestore(const StoredDisk& stored, const TargetLayout& target, TargetUse use,
                                       std::uint64_t wantedSize) {
  return Planner(stored, target, use).run(wantedSize);
}

std::string megabytesText(std::uint64_t bytes) {
  return std::to_string(divideUp(bytes, 1'000'000)) + " MB";
}

}  // namespace zpk
