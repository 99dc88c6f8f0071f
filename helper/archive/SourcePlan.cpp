#include "helper/archive/SourcePlan.h"

#include <algorithm>

#include "helper/archive/DeviceIdentity.h"
#include "helper/archive/GptExtent.h"
#include "helper/archive/GptTable.h"
#include "helper/archive/NtfsBootSector.h"
#include "helper/archive/PartitionDevice.h"
#include "helper/archive/SourceCheck.h"
#include "helper/archive/UsedClusters.h"
#include "helper/process/ActingAs.h"

namespace zpk {
namespace {

constexpr const char* tableName = "The partition table of the disk";
constexpr const char* bootSectorName = "The boot sector of the Windows volume";

// The records of the file system's own files, the first of which names the rest of the table.
ByteRange fileTableOf(ByteRange volume, const NtfsGeometry& geometry) {
  constexpr std::uint64_t ownRecords = std::uint64_t{16} << 10U;
  const std::uint64_t start = volume.start + geometry.fileTable;
  return {std::min(start, volume.end), std::min(start + ownRecords, volume.end)};
}

ArchiveError otherDisk(const DiskSource& disk) {
  return {
      ArchiveFault::SourceUnfit,
      "The disk is not what it was when it was last looked at: its partition table has changed, or another disk "
      "has taken its place. Nothing was backed up. Choose the disk again",
      disk.path(), 0, 0};
}

bool isTableOf(const GptTable& table, const StoredDisk& described) {
  const auto isUnused = [](const StoredPartition& partition) { return partition.typeGuid == GuidBytes{}; };
  std::vector<StoredPartition> used = described.partitions;
  std::erase_if(used, isUnused);
  const auto isSame = [](const GptEntry& entry, const StoredPartition& partition) {
    return entry.number == partition.number && entry.start == partition.start && entry.size == partition.size &&
           entry.type == partition.typeGuid;
  };
  return table.diskId == described.gptId && std::ranges::equal(table.entries, used, isSame);
}

// Whether what is open, and nobody else's to write any more, is the disk that was described. Its table is read
// anew: of two disks of one size, only that tells which one's chain the backup point belongs to.
ArchiveResult<Done> checkIs(const DiskSource& disk, const BackupDisk& source) {
  const StoredDisk& described = source.description;
  if (disk.size() != described.size) return otherDisk(disk);
  if (!source.identity.empty() && identityOfOpen(disk.file().fd.get()) != source.identity) return otherDisk(disk);
  // Of what cannot be backed up at all, the search for the table's places has the better answer.
  if (described.sectorSize != 512 && described.sectorSize != 4096) return Done{};
  const DiskBytes read = [&disk](std::uint64_t offset, std::span<std::byte> bytes) {
    return disk.read(offset, bytes);
  };
  ArchiveResult<GptTable> table = readGptTable(read, disk.size(), described.sectorSize);
  // A damaged first copy keeps no disk from being backed up that its second one describes.
  if (!table && table.error().fault == ArchiveFault::Damaged) {
    table = readGptTable(read, disk.size(), described.sectorSize, GptCopy::Second);
  }
  const bool hasTable = table || table.error().fault != ArchiveFault::Damaged;
  if (!hasTable) return described.gptId == GuidBytes{} ? ArchiveResult<Done>(Done{}) : otherDisk(disk);
  if (!table) return table.error();
  return isTableOf(*table, described) ? ArchiveResult<Done>(Done{}) : otherDisk(disk);
}

class SourcePlanner {
 public:
  SourcePlanner(SourcePlan& plan, bool acceptsUnclean, std::string exportFolder, const CancelFlag& cancel)
      : _plan(plan), _acceptsUnclean(acceptsUnclean), _exportFolder(std::move(exportFolder)), _cancel(cancel) {}

  ArchiveResult<Done> addTable() {
    const ArchiveResult<GptExtent> table = readGptExtent(_plan.disk, _plan.description.sectorSize);
    if (!table) return unreadablePlace(tableName, table.error());
    _plan.vital.push_back({table->head, tableName});
    ArchiveResult<Done> step = _plan.layout.addWhole(table->head);
    if (step) step = _plan.layout.addWhole(table->tail);
    return step;
  }

  ArchiveResult<Done> addPartition(StoredPartition& partition) {
    if (partition.content == PartitionContent::NotStored) return Done{};
    const std::uint64_t diskSize = _plan.disk.size();
    if (partition.start > diskSize || partition.size > diskSize - partition.start || partition.size < 512) {
      return unfit("A partition reaches beyond the end of its disk", partition);
    }
    const ByteRange range{partition.start, partition.start + partition.size};
    ByteBuffer bootSector(512);
    const ArchiveResult<Done> read = _plan.disk.read(range.start, bootSector);
    if (!read) return unreadablePlace(bootSectorName, read.error());
    if (looksEncryptedByWindows(bootSector)) {
      return unfit(SourceFinding{SourceState::Encrypted, {}}.sentence(), partition);
    }
    if (!looksLikeNtfs(bootSector)) {
      partition.content = PartitionContent::Whole;
      return _plan.layout.addWhole(range);
    }
    const std::optional<NtfsGeometry> geometry = parseNtfsBootSector(bootSector, range.size());
    if (!geometry) return unfit(SourceFinding{SourceState::Inconsistent, {}}.sentence(), partition);
    partition.content = PartitionContent::UsedClusters;
    return addVolume(partition, range, *geometry);
  }

 private:
  ArchiveResult<Done> addVolume(const StoredPartition& partition, ByteRange range, const NtfsGeometry& geometry) {
    ArchiveResult<ClusterBitmap> used = examine(partition, range, geometry);
    if (!used) return used.error();
    _plan.vital.push_back({{range.start, range.start + geometry.sectorSize}, bootSectorName});
    _plan.vital.push_back({fileTableOf(range, geometry), "The file table of the Windows volume"});
    ArchiveResult<Done> step = _plan.layout.addClusters(range.start, geometry.clusterSize, std::move(*used));
    if (step) step = addBootSectorCopies(range, geometry);
    return step;
  }

  // Whether the volume is fit, and what of it is in use.
  ArchiveResult<ClusterBitmap> examine(const StoredPartition& partition, ByteRange range,
                                       const NtfsGeometry& geometry) {
    const auto device =
        PartitionDevice::attach(_plan.disk, range, _plan.description.sectorSize, _exportFolder, _cancel);
    if (!device) return device.error();
    ArchiveResult<ClusterBitmap> used = askTheTools(device->path(), partition, geometry);
    if (used || used.error().fault == ArchiveFault::Cancelled) return used;
    if (const std::optional<ArchiveError> loss = device->loss()) return *loss;
    // What the tools say of a disk that was taken away is not to be taken for its state.
    const ArchiveResult<Done> answers = checkAnswers(_plan.disk);
    if (!answers) return answers.error();
    return used;
  }

  ArchiveResult<ClusterBitmap> askTheTools(const std::string& device, const StoredPartition& partition,
                                           const NtfsGeometry& geometry) {
    const SourceFinding finding = checkNtfsSource(device, _cancel);
    if (finding.state == SourceState::Cancelled) return cancelledError();
    if (!isAccepted(finding.state)) return unfit(finding.sentence(), partition);
    return readUsedClusters(device, geometry, _cancel);
  }

  bool isAccepted(SourceState state) const {
    const bool isUnclean = state == SourceState::Dirty || state == SourceState::Inconsistent;
    return state == SourceState::Fit || (_acceptsUnclean && isUnclean);
  }

  // The copy of the boot sector lies behind the last cluster, where no bitmap reaches: right behind the volume,
  // and, when the volume is smaller than its partition, perhaps at the end of the partition as well.
  ArchiveResult<Done> addBootSectorCopies(ByteRange range, const NtfsGeometry& geometry) {
    const std::uint64_t behindVolume = range.start + geometry.sectors * geometry.sectorSize;
    const std::uint64_t last = range.end - geometry.sectorSize;
    ArchiveResult<Done> step = Done{};
    if (behindVolume <= last) step = _plan.layout.addWhole({behindVolume, behindVolume + geometry.sectorSize});
    if (step && behindVolume + geometry.sectorSize <= last) step = _plan.layout.addWhole({last, range.end});
    return step;
  }

  ArchiveError unfit(const std::string& message, const StoredPartition& partition) const {
    const std::string name = partition.bsdName.empty() ? _plan.disk.path() : partition.bsdName;
    return {ArchiveFault::SourceUnfit, message, name, 0, 0};
  }

  SourcePlan& _plan;
  const bool _acceptsUnclean;
  const std::string _exportFolder;
  const CancelFlag& _cancel;
};

}  // namespace

ArchiveResult<SourcePlan> planSource(const BackupDisk& source, const std::string& exportFolder,
                                     const CancelFlag& cancel) {
  // The archive's user need not be one who may read disks.
  const ActingAsSelf self;
  ArchiveResult<DiskSource> disk = DiskSource::open(source.path);
  if (!disk) return disk.error();
  const ArchiveResult<Done> same = checkIs(*disk, source);
  if (!same) return unreadablePlace(tableName, same.error());
  const std::uint64_t size = disk->size();
  SourcePlan plan{std::move(*disk), DiskLayout(size), source.description, {}};
  SourcePlanner planner(plan, source.acceptsUncleanVolumes, exportFolder, cancel);
  ArchiveResult<Done> step = planner.addTable();
  for (StoredPartition& partition : plan.description.partitions) {
    if (step && cancel.isRequested()) step = cancelledError();
    if (step) step = planner.addPartition(partition);
  }
  if (!step) return step.error();
  plan.description.storedBytes = plan.layout.usedBytes();
  return plan;
}

}  // namespace zpk
