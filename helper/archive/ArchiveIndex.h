#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "helper/archive/ArchiveError.h"

namespace zpk {

// A merge that has begun: the parent is given up, and its images are becoming the child's.
struct PendingMerge {
  std::string parent;  // Folders of two neighbouring points.
  std::string child;
  // Where the first table of each of the parent's images lay: one that has another now was switched over. Empty
  // when the child's images build on nothing.
  std::vector<std::uint64_t> tables;

  bool operator==(const PendingMerge&) const = default;
};

// What archive.json says: the commit record of the whole archive. A point that it does not name does not exist.
struct ArchiveIndex {
  std::string id;          // 32 hexadecimal digits.
  std::string sourceDisk;  // Identifier of the disk that the archive belongs to, as the helper gives it.
  std::string sourceName;
  std::uint64_t hashSeed = 0;
  std::int64_t creationTime = 0;    // Seconds since 1970, UTC.
  std::vector<std::string> points;  // Folders of the points, oldest first.
  std::optional<PendingMerge> merging{};
  // Folders of points that are given up, but whose images later points still build on: their merge came upon damage
  // and could not be finished.
  std::vector<std::string> kept{};
  // Of the older kind: it is read, and never written.
  bool isLegacy = false;

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
// The digits of the id in such a name, and as many of a whole id.
std::string shortIdIn(const std::string& name);
std::string shortIdOf(const std::string& id);

}  // namespace zpk
