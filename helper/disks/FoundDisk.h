#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "helper/disks/probe/DiskReader.h"

namespace zpk {

enum class DiskKind { Image, Internal, External };

// What the system knows about a partition of a found disk before anybody has read its table.
struct FoundPartition {
  std::uint64_t start = 0;  // Bytes from the start of the disk; how the partition is recognised.
  std::string bsdName;      // Empty where the system has no device for it.
  std::optional<std::string> mountPoint;
  bool isSystem = false;
};

// A disk to look at: where it is and what the system says about it. A value, made anew by every listing.
struct FoundDisk {
  std::string path;  // To open; absolute.
  std::string name;  // To show.
  std::string bsdName;
  std::string partitionInfix;  // Between the disk's name and a number it makes a partition's: sda4, nvme0n1p4.
  DiskKind kind = DiskKind::Image;
  FileIdentity file;             // What `path` led to.
  std::uint32_t sectorSize = 0;  // 0 for an image, which has none of its own.

  std::string device;  // What `path` led to (helper/archive/DeviceIdentity.h).
  // Another text means another disk: a number handed out for the one must not lead to the other.
  std::string identity;
  // Another text means that the content may differ. Empty where nothing tells; then it is read every time.
  std::string version;

  bool isWritable = false;
  bool isSystem = false;  // Holds the running system, wholly or in part.
  std::vector<FoundPartition> partitions;
};

// What a source has found, and why it passed over the rest: "PATH: reason".
struct FoundDisks {
  std::vector<FoundDisk> disks;
  std::vector<std::string> passedOver;
};

}  // namespace zpk
