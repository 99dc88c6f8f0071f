#include "helper/archive/RestorePlan.h"

#include <algorithm>

#include "helper/archive/GptTable.h"

namespace zpk {
namespace {

// New partitions begin and end on whole mebibytes, and the table's copies keep the first and the last.
constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20U;
// What is larger than this is no size of a disk; the sizes of as many partitions as a point can have stay
// countable.
constexpr std::uint64_t largestDisk = std::uint64_t{1} << 53U;

ArchiveError refused(std::string message) {
  return {ArchiveFault::Refused, std::move(message), {}, 0, 0};
}

bool isWindows(const StoredPartition& partition) {
  return partition.content != PartitionContent::NotStored && partition.typeGuid == gpttype::microsoftBasicData;
}

ByteRange rangeOf(const StoredPartition& partition) {
  return {partition.start, partition.start + partition.size};
}

// Down: of a room never more than it is.
std::string wholeMegabytes(std::uint64_t bytes) {
  return std::to_string(bytes / 1'000'000);
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
    if (step) step = checkSizes();
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

  ArchiveResult<Done> checkSizes() const {
    const auto isSensible = [this](const StoredPartition& partition) {
      return partition.size <= _stored.size && partition.start <= _stored.size - partition.size;
    };
    if (_stored.size <= largestDisk && std::ranges::all_of(_stored.partitions, isSensible)) return Done{};
    return damagedError("The backup point describes a partition that its disk cannot have had", {});
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
    if (found->size < leastRoomFor(windows())) return tooSmall(found->size, leastRoomFor(windows()));
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
    const std::uint64_t least = leastRoomFor(windows());
    if (stretch.size() < roundUp(least, mebibyte)) return tooSmall(stretch.size(), roundUp(least, mebibyte));
    if (wantedSize > stretch.size()) {
      return refused("The disk has a free stretch of " + megabytesText(stretch.size()) +
                     ", which is less than the chosen size of " + megabytesText(wantedSize));
    }
    if (wantedSize < least) {
      return refused("The Windows partition of this backup point needs " + megabytesText(least) + ", and " +
                     wholeMegabytes(wantedSize) + " MB were chosen for it");
    }
    leaveOutBeyond(stretch.size() - roundUp(least, mebibyte));
    // Up: the least size that a volume can have is one that may be chosen.
    const std::uint64_t wanted = roundUp(wantedSize, mebibyte);
    const std::uint64_t given = std::min(wanted, stretch.size() - sizeOfOthers());
    if (given < wanted) {
      _plan.remarks.push_back(
          "The Windows partition gets " + megabytesText(given) + " and not the " + megabytesText(wantedSize) +
          " that were chosen: the free space takes the other partitions of the backup point too");
    }
    layOut(stretch.start, given);
    return Done{};
  }

  ArchiveResult<Done> placeOnWholeDisk() {
    ByteRange room = usableRange(_target);
    const std::uint64_t least = roundUp(leastRoomFor(windows()), mebibyte);
    const auto efi = std::ranges::find(_stored.partitions, gpttype::efiSystem, &StoredPartition::typeGuid);
    const std::uint64_t efiSize = efi == _stored.partitions.end() ? 0 : roundUp(efi->size, mebibyte);
    // The table's copies take the first and the last mebibyte.
    if (room.size() < efiSize + least) return tooSmall(_target.size, efiSize + least + 2 * mebibyte);
    if (efiSize > 0) {
      _plan.entries.push_back({{room.start, room.start + efiSize}, gpttype::efiSystem, {}});
      room.start += efiSize;
    }
    leaveOutBeyond(room.size() - least);
    layOut(room.start, room.size() - sizeOfOthers());
    return Done{};
  }

  enum class Part { taken, ofAKindThatIsThere, withoutRoom };

  // What becomes of the stored partitions beside Windows in a new layout. Where there is no room for all of them,
  // the largest go first: Windows starts and runs without them.
  void leaveOutBeyond(std::uint64_t room) {
    _parts.assign(_stored.partitions.size(), Part::taken);
    for (std::size_t i = 0; i < _parts.size(); ++i) {
      if (isOther(i) && targetKeepsOneLike(_stored.partitions[i])) _parts[i] = Part::ofAKindThatIsThere;
    }
    while (sizeOfOthers() > room) {
      std::size_t largest = _windows;
      for (std::size_t i = 0; i < _parts.size(); ++i) {
        if (!isTakenOther(i)) continue;
        if (largest == _windows || _stored.partitions[i].size > _stored.partitions[largest].size) largest = i;
      }
      _parts[largest] = Part::withoutRoom;
    }
  }

  bool isOther(std::size_t index) const {
    return index != _windows && _stored.partitions[index].content != PartitionContent::NotStored;
  }
  bool isTakenOther(std::size_t index) const { return isOther(index) && _parts[index] == Part::taken; }

  bool targetKeepsOneLike(const StoredPartition& partition) const {
    return _plan.use == TargetUse::FreeSpace &&
           std::ranges::find(_target.partitions, partition.typeGuid, &TargetPartition::type) !=
               _target.partitions.end();
  }

  std::uint64_t sizeOfOthers() const {
    std::uint64_t size = 0;
    for (std::size_t i = 0; i < _parts.size(); ++i) {
      if (isTakenOther(i)) size += roundUp(_stored.partitions[i].size, mebibyte);
    }
    return size;
  }

  // The stored partitions that are taken, in their order and one behind the other.
  void layOut(std::uint64_t start, std::uint64_t windowsSize) {
    std::uint64_t next = start;
    for (std::size_t i = 0; i < _stored.partitions.size(); ++i) {
      const StoredPartition& partition = _stored.partitions[i];
      if (isOther(i) && _parts[i] != Part::taken) remarkOnLeftOut(i);
      if (i != _windows && !isTakenOther(i)) continue;
      const std::uint64_t size = i == _windows ? windowsSize : roundUp(partition.size, mebibyte);
      addMove(i, {next, next + size});
      _plan.entries.push_back({{next, next + size}, partition.typeGuid, i});
      next += size;
    }
  }

  void remarkOnLeftOut(std::size_t index) {
    _plan.remarks.push_back("Partition " + std::to_string(_stored.partitions[index].number) +
                            " of the backup point is not restored: " +
                            (_parts[index] == Part::withoutRoom ? "there is no room for it beside Windows"
                                                                : "the disk has one of its kind"));
  }

  void addMove(std::size_t index, ByteRange place) {
    if (index == _windows) _plan.windows = _plan.moves.size();
    _plan.moves.push_back({index, rangeOf(_stored.partitions[index]), place});
  }

  static ArchiveError tooSmall(std::uint64_t have, std::uint64_t need) {
    return refused("The backup point needs " + megabytesText(need) + " on the disk and there are " +
                   wholeMegabytes(have) + " MB for it");
  }

  const StoredDisk& _stored;
  const TargetLayout& _target;
  RestorePlan _plan;
  std::size_t _windows = 0;
  std::vector<Part> _parts;  // One each of the stored partitions, once a new layout is made.
};

}  // namespace

std::uint64_t leastRoomFor(const StoredPartition& partition) {
  const bool canBeSmaller = partition.content == PartitionContent::UsedClusters && partition.isResizable;
  return canBeSmaller ? std::min(partition.minSize, partition.size) : partition.size;
}

ArchiveResult<RestorePlan> planRestore(const StoredDisk& stored, const TargetLayout& target, TargetUse use,
                                       std::uint64_t wantedSize) {
  return Planner(stored, target, use).run(wantedSize);
}

std::string megabytesText(std::uint64_t bytes) {
  return std::to_string(divideUp(bytes, 1'000'000)) + " MB";
}

}  // namespace zpk
