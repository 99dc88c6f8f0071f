#include "helper/disks/probe/TableProbe.h"

#include <libfdisk/libfdisk.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "helper/disks/PartitioningScheme.h"
#include "helper/disks/probe/VolumeProbe.h"

namespace zpk {
namespace {

constexpr std::uint32_t smallSector = 512;
constexpr std::uint32_t largeSector = 4096;
constexpr std::uint64_t margin = std::uint64_t{1} << 20;
constexpr std::uint8_t protectiveType = 0xEE;

struct ContextDeleter {
  void operator()(fdisk_context* context) const {
    fdisk_deassign_device(context, 1);
    fdisk_unref_context(context);
  }
};
struct TableDeleter {
  void operator()(fdisk_table* table) const { fdisk_unref_table(table); }
};
struct IteratorDeleter {
  void operator()(fdisk_iter* iterator) const { fdisk_free_iter(iterator); }
};
struct TextDeleter {
  void operator()(char* text) const { std::free(text); }
};
using Context = std::unique_ptr<fdisk_context, ContextDeleter>;
using OwnedText = std::unique_ptr<char, TextDeleter>;

// What libfdisk would do about an oddity is left out of its message: nothing is ever written here.
std::string withoutIntention(std::string message) {
  constexpr std::string_view intention = " will be corrected by write.";
  if (message.ends_with(intention)) message.resize(message.size() - intention.size());
  return message;
}

// libfdisk tells oddities as messages to a person, and asks before it would change anything: it is never allowed
// to.
int onAsk(fdisk_context*, fdisk_ask* ask, void* data) {
  switch (fdisk_ask_get_type(ask)) {
    case FDISK_ASKTYPE_INFO:
    case FDISK_ASKTYPE_WARN:
    case FDISK_ASKTYPE_WARNX:
      if (const char* message = fdisk_ask_print_get_mesg(ask)) {
        static_cast<TableReport*>(data)->warnings.push_back(withoutIntention(message));
      }
      return 0;
    default:
      return -1;
  }
}

bool hasGptHeaderAt(const DiskReader& disk, std::uint64_t position) {
  std::array<std::uint8_t, 8> signature{};
  return disk.read(position, signature) && std::memcmp(signature.data(), "EFI PART", signature.size()) == 0;
}

bool hasGptHeader(const DiskReader& disk, std::uint32_t sector) {
  return hasGptHeaderAt(disk, sector) || (disk.size() >= sector && hasGptHeaderAt(disk, disk.size() - sector));
}

std::uint32_t guessedSectorSize(const DiskReader& disk) {
  if (hasGptHeaderAt(disk, smallSector)) return smallSector;
  if (hasGptHeaderAt(disk, largeSector)) return largeSector;
  return !hasGptHeader(disk, smallSector) && hasGptHeader(disk, largeSector) ? largeSector : smallSector;
}

// The four types of the MBR, for telling a protective one from a hybrid one.
std::array<std::uint8_t, 4> mbrTypes(const DiskReader& disk) {
  std::array<std::uint8_t, 512> sector{};
  if (!disk.read(0, sector) || sector[510] != 0x55 || sector[511] != 0xAA) return {};
  return {sector[446 + 4], sector[462 + 4], sector[478 + 4], sector[494 + 4]};
}

bool isHybrid(const std::array<std::uint8_t, 4>& types) {
  return std::any_of(types.begin(), types.end(), [](std::uint8_t type) { return type && type != protectiveType; });
}

bool isProtective(const std::array<std::uint8_t, 4>& types) {
  return std::find(types.begin(), types.end(), protectiveType) != types.end();
}

bool isZero(const DiskReader& disk, std::uint64_t position, std::uint64_t length) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(length));
  return disk.read(position, bytes) && std::all_of(bytes.begin(), bytes.end(), [](auto byte) { return byte == 0; });
}

// A disk counts as blank only where every table and most file systems keep what finds them again.
bool isBlank(const DiskReader& disk) {
  const std::uint64_t length = std::min(margin, disk.size());
  return isZero(disk, 0, length) && isZero(disk, disk.size() - length, length);
}

TableEntry entryOf(fdisk_partition* partition, std::uint32_t sectorSize) {
  TableEntry entry;
  entry.number = static_cast<std::uint32_t>(fdisk_partition_get_partno(partition) + 1);
  entry.start = fdisk_partition_get_start(partition) * sectorSize;
  entry.size = fdisk_partition_get_size(partition) * sectorSize;
  if (fdisk_parttype* type = fdisk_partition_get_type(partition)) {
    if (const char* guid = fdisk_parttype_get_string(type)) entry.typeGuid = guidBytesOf(guid);
    if (!entry.typeGuid) entry.mbrType = fdisk_parttype_get_code(type);
  }
  if (const char* name = fdisk_partition_get_name(partition)) entry.name = name;
  return entry;
}

bool liesOnDisk(fdisk_partition* partition, const TableReport& report) {
  const std::uint64_t sectors = report.diskSize / report.sectorSize;
  const std::uint64_t start = fdisk_partition_get_start(partition);
  const std::uint64_t size = fdisk_partition_get_size(partition);
  return size > 0 && start > 0 && start < sectors && size <= sectors - start;
}

// The first pair of entries that claim the same bytes. An extended partition holds its logical ones.
std::string overlapOf(std::vector<TableEntry> entries) {
  std::erase_if(entries, [](const TableEntry& entry) { return isExtendedPartition(entry); });
  std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.start < b.start; });
  for (std::size_t i = 1; i < entries.size(); ++i) {
    if (entries[i].start < entries[i - 1].start + entries[i - 1].size) {
      return "its partitions " + std::to_string(entries[i - 1].number) + " and " +
             std::to_string(entries[i].number) + " overlap";
    }
  }
  return {};
}

void readEntries(fdisk_context* context, TableReport& report) {
  fdisk_table* raw = nullptr;
  if (fdisk_get_partitions(context, &raw) != 0) {
    report.problem = "its partition table cannot be read";
    return;
  }
  const std::unique_ptr<fdisk_table, TableDeleter> table(raw);
  const std::unique_ptr<fdisk_iter, IteratorDeleter> iterator(fdisk_new_iter(FDISK_ITER_FORWARD));
  fdisk_partition* partition = nullptr;
  while (fdisk_table_next_partition(table.get(), iterator.get(), &partition) == 0) {
    if (!fdisk_partition_has_start(partition) || !fdisk_partition_has_size(partition)) continue;
    if (!liesOnDisk(partition, report)) {
      report.problem =
          "its partition " + std::to_string(fdisk_partition_get_partno(partition) + 1) + " reaches beyond the disk";
      return;
    }
    report.entries.push_back(entryOf(partition, report.sectorSize));
  }
  std::sort(report.entries.begin(), report.entries.end(),
            [](const auto& a, const auto& b) { return a.number < b.number; });
  report.problem = overlapOf(report.entries);
}

void readGpt(const DiskReader& disk, fdisk_context* context, TableReport& report) {
  report.schemes = PartitioningSchemeGpt;
  if (isHybrid(mbrTypes(disk))) report.schemes |= PartitioningSchemeMbr | PartitioningSchemeHybrid;
  char* raw = nullptr;
  if (fdisk_get_disklabel_id(context, &raw) == 0) {
    const OwnedText id(raw);
    if (id) report.diskGuid = guidBytesOf(id.get());
  }
  readEntries(context, report);
}

void readMbr(const DiskReader& disk, fdisk_context* context, TableReport& report) {
  if (isProtective(mbrTypes(disk))) {
    report.problem = "both copies of its GPT are damaged";
    return;
  }
  report.schemes = PartitioningSchemeMbr;
  readEntries(context, report);
}

void readTable(const DiskReader& disk, fdisk_context* context, TableReport& report) {
  if (fdisk_is_labeltype(context, FDISK_DISKLABEL_GPT)) return readGpt(disk, context, report);
  if (hasGptHeader(disk, report.sectorSize)) {
    report.problem = "its GPT is damaged or lacks the protective MBR";
    return;
  }
  if (fdisk_is_labeltype(context, FDISK_DISKLABEL_DOS)) return readMbr(disk, context, report);
  if (fdisk_has_label(context)) {
    report.problem = "its partition table is of a kind that is not supported";
    return;
  }
  if (!isBlank(disk)) report.problem = "it has no partition table but is not blank";
}

}  // namespace

TableReport probeTable(const DiskReader& disk, std::uint32_t sectorSize) {
  TableReport report;
  report.diskSize = disk.size();
  report.sectorSize = sectorSize ? sectorSize : guessedSectorSize(disk);
  if (disk.size() < 2 * margin) {
    report.problem = "it is too small to hold partitions";
    return report;
  }
  // Content over the whole disk (a RAID member, a volume without a table, an installation medium) outlives a table
  // that happens to be there as well.
  const VolumeReport whole = probeVolume(disk, 0, disk.size(), report.sectorSize);
  if (!whole.type.empty()) {
    report.problem = "the whole disk is one volume (" + whole.type + ")";
    return report;
  }
  const Context context(fdisk_new_context());
  if (!context) {
    report.problem = "there is no memory to read its partition table";
    return report;
  }
  fdisk_set_ask(context.get(), onAsk, &report);
  fdisk_disable_dialogs(context.get(), 1);
  fdisk_save_user_sector_size(context.get(), report.sectorSize, report.sectorSize);
  if (fdisk_assign_device_by_fd(context.get(), disk.fd(), "disk", 1) != 0) {
    report.problem = "its partition table cannot be read";
    return report;
  }
  readTable(disk, context.get(), report);
  return report;
}

}  // namespace zpk
