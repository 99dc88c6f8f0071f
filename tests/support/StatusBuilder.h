#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Value.h"
#include "helperlink/StatusRecord.h"
#include "records/RLDArchive.h"
#include "records/ZPKDisk.h"

namespace zpk {

// Records as a helper would send them, for tests of what is made of them.

// A Mac disk with EFI, macOS, recovery and an NTFS partition named "BOOTCAMP": Boot Camp and restore target.
// `number` tells disks apart: it makes the identifier.
std::shared_ptr<const ZPKDisk> bootCampDisk(std::uint8_t number, const std::string& name);
// The same without the Windows partition: a restore target whose free part can be divided.
std::shared_ptr<const ZPKDisk> macDisk(std::uint8_t number, const std::string& name, std::uint64_t size,
                                       std::uint64_t minSize);
// A disk with nothing on it.
std::shared_ptr<const ZPKDisk> emptyDisk(std::uint8_t number, const std::string& name, std::uint64_t size);

std::string identifierOf(const ZPKDisk& disk);

// A backup point that stores one disk whose partitions all have `partMinSize`.
std::shared_ptr<const RLDArchiveItem> backupPoint(std::uint32_t arcIndex, const std::string& name, double date,
                                                  bool pinned = false, std::uint64_t partMinSize = 20'000'000'000,
                                                  std::size_t partitions = 1);
std::shared_ptr<const RLDArchive> archiveOf(std::vector<std::shared_ptr<const RLDArchiveItem>> items,
                                            bool legacy = false);

// Statuses. `with` sets further keys.
Dictionary idleStatus(std::vector<std::shared_ptr<const ZPKDisk>> disks);
Dictionary
readyStatus();  // one Boot Camp disk as source, a ready archive with three points at /backups/Office PC.rldbackup
Dictionary backupStatus(double percent, Array log);  // the same with a backup in progress

}  // namespace zpk
