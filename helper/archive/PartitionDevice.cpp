#include "helper/archive/PartitionDevice.h"

#include <cerrno>

namespace zpk {
namespace {

ArchiveError noLoopDevice(const DiskSource& disk, int errorNumber) {
  if (errorNumber == EACCES || errorNumber == EPERM) {
    return {ArchiveFault::ToolFailed,
            "The backup service may not set up loop devices, through which the file-system tools look at a "
            "partition; start it as root and try again",
            disk.path(), 0, errorNumber};
  }
  return {ArchiveFault::ToolFailed, "The partition could not be made visible to the file-system tools", disk.path(),
          0, errorNumber};
}

}  // namespace

ArchiveResult<PartitionDevice> PartitionDevice::attach(const DiskSource& disk, ByteRange range,
                                                       std::uint32_t sectorSize, const std::string& exportFolder,
                                                       const CancelFlag& cancel) {
  Expected<LoopDevice, int> loop = LoopDevice::attach(disk, range, sectorSize);
  if (loop) return PartitionDevice(std::move(*loop));
  if (!disk.isImageFile() || exportFolder.empty()) return noLoopDevice(disk, loop.error());
  ArchiveResult<FuseExport> served = FuseExport::make(disk, range, exportFolder, cancel);
  if (!served) return served.error();
  return PartitionDevice(std::move(*served));
}

const std::string& PartitionDevice::path() const {
  return std::visit([](const auto& way) -> const std::string& { return way.path(); }, _way);
}

std::optional<ArchiveError> PartitionDevice::loss() const {
  const auto* served = std::get_if<FuseExport>(&_way);
  if (served == nullptr || served->isServing()) return std::nullopt;
  return ArchiveError{ArchiveFault::ToolFailed,
                      "The program that shows the partition to the file-system tools ended unexpectedly; try again",
                      "/usr/bin/qemu-storage-daemon", 0, 0};
}

}  // namespace zpk
