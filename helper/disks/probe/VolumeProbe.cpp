#include "helper/disks/probe/VolumeProbe.h"

#include <blkid/blkid.h>

#include <memory>

#include "helper/disks/probe/NtfsVolume.h"

namespace zpk {
namespace {

struct ProbeDeleter {
  void operator()(blkid_probe probe) const { blkid_free_probe(probe); }
};
using Probe = std::unique_ptr<blkid_struct_probe, ProbeDeleter>;

std::string valueOf(blkid_probe probe, const char* name) {
  const char* data = nullptr;
  std::size_t length = 0;
  if (blkid_probe_lookup_value(probe, name, &data, &length) != 0 || !data) return {};
  return std::string(data);  // libblkid ends every value with a zero byte, which the length counts.
}

VolumeReport signatures(const DiskReader& disk, std::uint64_t start, std::uint64_t size, std::uint32_t sectorSize) {
  VolumeReport report;
  const Probe probe(blkid_new_probe());
  if (!probe) return report;
  if (blkid_probe_set_device(probe.get(), disk.fd(), static_cast<blkid_loff_t>(start),
                             static_cast<blkid_loff_t>(size)) != 0) {
    return report;
  }
  blkid_probe_set_sectorsize(probe.get(), sectorSize);
  blkid_probe_enable_superblocks(probe.get(), 1);
  blkid_probe_set_superblocks_flags(
      probe.get(), BLKID_SUBLKS_TYPE | BLKID_SUBLKS_VERSION | BLKID_SUBLKS_LABEL | BLKID_SUBLKS_UUID);
  const int found = blkid_do_safeprobe(probe.get());
  if (found == -2) report.type = ambivalentVolume;
  if (found != 0) return report;
  report.type = valueOf(probe.get(), "TYPE");
  report.version = valueOf(probe.get(), "VERSION");
  report.label = valueOf(probe.get(), "LABEL");
  report.serial = valueOf(probe.get(), "UUID");
  return report;
}

}  // namespace

VolumeReport probeVolume(const DiskReader& disk, std::uint64_t start, std::uint64_t size,
                         std::uint32_t sectorSize) {
  if (start > disk.size() || size > disk.size() - start || size == 0) return {};
  VolumeReport report = signatures(disk, start, size, sectorSize);
  if (report.type == "ntfs") report.ntfs = readNtfsFigures(disk, start, size);
  return report;
}

}  // namespace zpk
