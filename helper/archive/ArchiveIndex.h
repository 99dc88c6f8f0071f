#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "helper/archive/ArchiveError.h"

namespace zpk {

// What archive.json says: the commit record of the whole archive. A point that it does not name does not exist.
struct ArchiveIndex {
  std::string id;          // 32 hexadecimal digits.
  std::string sourceDisk;  // Identifier of the disk that the archive belongs to, as the helper gives it.
  std::string sourceName;
  std::uint64_t hashSeed = 0;
  std::int64_t creationTime = 0;    // Seconds since 1970, UTC.
  std::vector<std::string> points;  // Folders of the points, oldest first.

  bool operator==(const ArchiveIndex&) const = default;
};

std::string textOf(const ArchiveIndex& index);

// NotAnArchive for something of another kind, NewerFormat for a later version, Damaged for the rest.
ArchiveResult<ArchiveIndex> parseArchiveIndex(const std::string& text, const std::string& path);

// "p0001-1f2e3d4c": number of the point as it was made, and the first digits of its id.
std::string pointFolderName(std::uint64_t number, const std::string& id);
bool isPointFolderName(const std::string& name);
// The number in such a name.
std::uint64_t pointNumberOf(const std::string& name);

}  // namespace zpk
