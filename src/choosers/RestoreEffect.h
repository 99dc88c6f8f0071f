#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "records/ZPKDisk.h"

namespace zpk {

// What a restore would do to a disk, as far as its record tells: what the helper does with a disk of that kind, and
// no more than it does. Values; no text of it is translated or made fit to be shown.

// The volume in the existing Windows partition gives way; not a byte beside the partition is written.
struct ReplacesWindows {
  std::string name;  // Of the partition; empty when it has none.
  std::uint64_t size = 0;

  bool operator==(const ReplacesWindows&) const = default;
};
// A new partition table over the whole disk. A disk that counts as empty may have auxiliary partitions, whose
// content goes as well.
struct ErasesDisk {
  bool operator==(const ErasesDisk&) const = default;
};
// New partitions in the largest free stretch; the ones that are there stay, and so do their entries.
struct FillsFreeSpace {
  bool operator==(const FillsFreeSpace&) const = default;
};

struct RestoreEffect {
  std::string disk;  // Its name; empty when it has none.
  // The system's name for it, where its own name does not tell it from the others that are offered; else empty.
  std::string device;
  std::variant<ReplacesWindows, ErasesDisk, FillsFreeSpace> does;

  bool operator==(const RestoreEffect&) const = default;
};

// What choosing `target` among `offered` means. Nothing for a disk that the helper would not write.
std::optional<RestoreEffect> restoreEffect(const ZPKDisk& target,
                                           const std::vector<std::shared_ptr<const ZPKDisk>>& offered);

}  // namespace zpk
