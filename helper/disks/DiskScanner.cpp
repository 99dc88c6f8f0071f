#include "helper/disks/DiskScanner.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "helper/disks/BlockDevices.h"
#include "helper/disks/DiskRecord.h"
#include "helper/disks/MountedVolumes.h"
#include "helper/disks/RunningSystem.h"

namespace zpk {
namespace {

// What Windows cannot be on, though a partition of its type holds it: somebody put another system there.
constexpr std::array<std::string_view, 12> foreignTypes{
    "apfs", "hfsplus", "hfs", "ext2", "ext3", "ext4", "xfs", "btrfs", "crypto_LUKS", "f2fs", "swap", "LVM2_member"};

std::string iconNameOf(DiskKind kind) {
  switch (kind) {
    case DiskKind::Image:
      return "disk-image.png";
    case DiskKind::Internal:
      return "disk-internal.png";
    case DiskKind::External:
      return "disk-external.png";
  }
  return {};
}

// The same disk, but not to be restored onto. What the layout says is decided where disks are classified; this is
// what only the helper knows.
std::shared_ptr<const ZPKDisk> withoutRestore(const ZPKDisk& disk) {
  Dictionary keys = roundTrip(disk, recordClasses());
  keys.set("isRestoreTarget", Value(false));
  return std::make_shared<const ZPKDisk>(KeyedDecoder(keys));
}

// What makes the disk's Windows partition something else; empty when it may be Windows'.
std::string foreignContent(const ZPKDisk& disk, const DiskContent& content) {
  const std::shared_ptr<const RLDPartition> windows = disk.objectForKeyedSubscript("winPartition");
  if (!windows || !disk.isBootCamp()) return {};
  for (std::size_t i = 0; i < content.volumes.size(); ++i) {
    const std::string& type = content.volumes[i].type;
    if (content.table.entries[i].number != windows->partNumber()) continue;
    if (std::find(foreignTypes.begin(), foreignTypes.end(), type) != foreignTypes.end()) return type;
  }
  return {};
}

std::string layoutText(const DiskContent& content) {
  std::string text;
  for (std::size_t i = 0; i < content.volumes.size(); ++i) {
    const std::string& type = content.volumes[i].type;
    text += (i ? ", " : "") + std::to_string(content.table.entries[i].number) + " " + (type.empty() ? "-" : type);
  }
  return text.empty() ? "no partitions" : text;
}

}  // namespace

DiskScanner::DiskScanner(DiskScannerOptions options, Log& log)
    : _options(std::move(options)), _log(log), _prober(_options.probeProgram) {
  for (const std::string& folder : _options.imageFolders) _folders.emplace_back(folder);
}

std::vector<std::shared_ptr<const ZPKDisk>> DiskScanner::scan(const CancelFlag& cancel) {
  _saidBefore = std::exchange(_said, {});
  const FoundDisks found = find();
  for (const std::string& line : found.passedOver) say(line);
  forgetDisksThatAreGone(found.disks);
  std::vector<std::shared_ptr<const ZPKDisk>> disks;
  for (const FoundDisk& disk : found.disks) {
    if (std::shared_ptr<const ZPKDisk> record = examine(disk, cancel)) disks.push_back(std::move(record));
  }
  std::sort(disks.begin(), disks.end(),
            [](const auto& a, const auto& b) { return a->diskNumber() < b->diskNumber(); });
  std::map<std::string, std::string> owners;
  std::erase_if(disks, [&](const auto& disk) {
    // Disks without a table have no identifier of their own; their numbers tell them apart.
    if (!disk->gptID() || *disk->gptID() == TMBGUID()) return false;
    const auto [owner, isNew] = owners.try_emplace(disk->gptID()->stringValue(), disk->filePath().value_or(""));
    if (!isNew) say(disk->filePath().value_or("") + ": it has the identifier of " + owner->second);
    return !isNew;
  });
  return disks;
}

FoundDisks DiskScanner::find() {
  const std::vector<MountedVolume> mounts = mountedVolumes(_options.paths);
  const RunningSystem system = RunningSystem::find(_options.paths, mounts);
  FoundDisks all;
  const auto take = [&all](FoundDisks more) {
    std::move(more.disks.begin(), more.disks.end(), std::back_inserter(all.disks));
    std::move(more.passedOver.begin(), more.passedOver.end(), std::back_inserter(all.passedOver));
  };
  for (ImageFolder& folder : _folders) take(folder.list(_options.paths, mounts, system));
  if (_options.listsDevices) take(listBlockDevices(_options.paths, mounts, system));
  return all;
}

std::shared_ptr<const ZPKDisk> DiskScanner::examine(const FoundDisk& disk, const CancelFlag& cancel) {
  const DiskContent* content = contentOf(disk, cancel);
  if (!content || cancel.isRequested()) return nullptr;
  for (const std::string& warning : content->table.warnings) say(disk.path + ": " + warning);
  for (const std::string& remark : content->remarks) say(disk.path + ": " + remark);
  if (!content->table.problem.empty()) {
    say(disk.path + ": passed over, " + content->table.problem);
    return nullptr;
  }
  return recordOf(disk, *content);
}

const DiskContent* DiskScanner::contentOf(const FoundDisk& disk, const CancelFlag& cancel) {
  const auto known = _known.find(disk.path);
  if (known != _known.end() && !disk.version.empty() && known->second.version == disk.version) {
    return &known->second.content;
  }
  Expected<DiskContent, std::string> content = _prober.read(disk, cancel);
  if (!content) {
    _known.erase(disk.path);
    if (!cancel.isRequested()) say(disk.path + ": passed over, " + content.error());
    return nullptr;
  }
  Known& entry = _known[disk.path];
  entry.version = content->isComplete ? disk.version : std::string();
  entry.content = std::move(content.value());
  return &entry.content;
}

std::shared_ptr<const ZPKDisk> DiskScanner::recordOf(const FoundDisk& disk, const DiskContent& content) {
  const std::string icon = _options.iconFolder + "/" + iconNameOf(disk.kind);
  std::shared_ptr<const ZPKDisk> record = ZPKDisk::diskWithDisk(diskRecordOf(disk, content, numberOf(disk), icon));
  if (!record) {
    say(disk.path + ": passed over, it is not laid out for Windows (" + layoutText(content) + ")");
    return nullptr;
  }
  const std::string foreign = foreignContent(*record, content);
  if (!foreign.empty()) {
    say(disk.path + ": passed over, its Windows partition holds " + foreign);
    return nullptr;
  }
  if (!record->isRestoreTarget() || (disk.isWritable && !disk.isSystem)) return record;
  say(disk.path + ": no target for a restore, " +
      (disk.isSystem ? "it holds the running system" : "it cannot be written"));
  return record->isBootCamp() ? withoutRestore(*record) : nullptr;
}

std::uint32_t DiskScanner::numberOf(const FoundDisk& disk) {
  // From 1: a missing number reads as 0.
  const auto next = static_cast<std::uint32_t>(_numbers.size() + 1);
  const std::uint32_t number = _numbers.try_emplace(disk.identity, next).first->second;
  _devices[number] = disk.device;
  return number;
}

std::string DiskScanner::deviceOf(const ZPKDisk& disk) const {
  const auto known = _devices.find(disk.diskNumber());
  return known == _devices.end() ? std::string() : known->second;
}

void DiskScanner::forgetDisksThatAreGone(const std::vector<FoundDisk>& disks) {
  std::set<std::string> paths;
  for (const FoundDisk& disk : disks) paths.insert(disk.path);
  std::erase_if(_known, [&paths](const auto& known) { return paths.count(known.first) == 0; });
}

void DiskScanner::say(const std::string& line) {
  _said.insert(line);
  if (_saidBefore.count(line) == 0) _log.line("ZPKH::Disks: " + line);
}

std::string siblingProgram(const std::string& name) {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  return (self.parent_path() / name).string();
}

}  // namespace zpk
