#include "helper/archive/PointIndex.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "helper/archive/JsonFields.h"

namespace zpk {
namespace {

using nlohmann::json;

constexpr std::size_t mostDisks = 64;
constexpr std::size_t mostPartitions = 1024;
constexpr std::size_t idDigits = 32;
constexpr std::size_t mostUnreadable = 100'000;

struct ContentName {
  PartitionContent content;
  const char* name;
};
constexpr ContentName contentNames[] = {{PartitionContent::NotStored, "none"},
                                        {PartitionContent::Whole, "whole"},
                                        {PartitionContent::UsedClusters, "usedClusters"}};

std::string hexadecimalOf(const GuidBytes& guid) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : guid) {
    text += digits[byte >> 4U];
    text += digits[byte & 15U];
  }
  return text;
}

GuidBytes guidOf(const std::string& text) {
  const auto valueOf = [](char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; };
  GuidBytes guid{};
  for (std::size_t i = 0; i < guid.size(); ++i) {
    guid[i] = static_cast<std::uint8_t>(valueOf(text[2 * i]) * 16 + valueOf(text[2 * i + 1]));
  }
  return guid;
}

const char* nameOf(PartitionContent content) {
  return std::ranges::find(contentNames, content, &ContentName::content)->name;
}

std::optional<PartitionContent> contentNamed(const std::string& name) {
  const auto* found = std::ranges::find(contentNames, std::string_view(name),
                                        [](const ContentName& row) { return std::string_view(row.name); });
  return found == std::end(contentNames) ? std::nullopt : std::optional(found->content);
}

json jsonOf(const StoredPartition& partition) {
  return {{"partNumber", partition.number},
          {"partStart", partition.start},
          {"partEnd", partition.end},
          {"partSize", partition.size},
          {"partMinSize", partition.minSize},
          {"partMaxSize", partition.maxSize},
          {"partUsedSize", partition.usedSize},
          {"partType", partition.type},
          {"gptTypeGUID", hexadecimalOf(partition.typeGuid)},
          {"fileSystemType", partition.fileSystemType},
          {"name", partition.name},
          {"bsdName", partition.bsdName},
          {"serialNumber", partition.serialNumber},
          {"isResizable", partition.isResizable},
          {"isSystem", partition.isSystem},
          {"content", nameOf(partition.content)}};
}

json jsonOf(const StoredDisk& disk) {
  json partitions = json::array();
  for (const StoredPartition& partition : disk.partitions) partitions.push_back(jsonOf(partition));
  json object{{"diskNumber", disk.number},
              {"sectorSize", disk.sectorSize},
              {"diskSize", disk.size},
              {"diskMinSize", disk.minSize},
              {"storedBytes", disk.storedBytes},
              {"partitioningSchemes", disk.partitioningSchemes},
              {"gptID", hexadecimalOf(disk.gptId)},
              {"name", disk.name},
              {"bsdName", disk.bsdName},
              {"image", disk.image},
              {"map", disk.map},
              {"partitions", std::move(partitions)}};
  for (const ByteRange& range : disk.unreadable) object["unreadable"].push_back({range.start, range.end});
  return object;
}

// Nothing unless they are ascending and within the disk.
std::optional<std::vector<ByteRange>> rangesOf(const json& array, std::uint64_t diskSize) {
  std::vector<ByteRange> ranges;
  std::uint64_t behind = 0;
  if (!array.is_array() || array.size() > mostUnreadable) return std::nullopt;
  for (const json& pair : array) {
    const bool isPair =
        pair.is_array() && pair.size() == 2 && pair[0].is_number_unsigned() && pair[1].is_number_unsigned();
    if (!isPair) return std::nullopt;
    const ByteRange range{pair[0].get<std::uint64_t>(), pair[1].get<std::uint64_t>()};
    if (range.start < behind || range.end <= range.start || range.end > diskSize) return std::nullopt;
    ranges.push_back(range);
    behind = range.end;
  }
  return ranges;
}

StoredPartition partitionOf(const json& object, std::string& failed) {
  JsonFields fields(object);
  StoredPartition partition;
  partition.number = fields.smallNumber("partNumber");
  partition.start = fields.number("partStart");
  partition.end = fields.number("partEnd");
  partition.size = fields.number("partSize");
  partition.minSize = fields.number("partMinSize");
  partition.maxSize = fields.number("partMaxSize");
  partition.usedSize = fields.number("partUsedSize");
  partition.type = fields.number("partType");
  partition.typeGuid = guidOf(fields.hexadecimal("gptTypeGUID", idDigits));
  partition.fileSystemType = fields.signedNumber("fileSystemType");
  partition.name = fields.text("name");
  partition.bsdName = fields.text("bsdName");
  partition.serialNumber = fields.text("serialNumber");
  partition.isResizable = fields.flag("isResizable");
  partition.isSystem = fields.flag("isSystem");
  const std::optional<PartitionContent> content = contentNamed(fields.text("content"));
  if (!content) fields.fail("content");
  partition.content = content.value_or(PartitionContent::NotStored);
  if (failed.empty()) failed = fields.failed();
  return partition;
}

// A file of the point's own folder: the name goes into a path.
bool isFileName(const std::string& name, std::string_view ending) {
  return name.size() > 4 + ending.size() && name.starts_with("disk") && name.ends_with(ending) &&
         std::all_of(name.begin() + 4, name.end() - static_cast<std::ptrdiff_t>(ending.size()),
                     [](char digit) { return digit >= '0' && digit <= '9'; });
}

StoredDisk diskOf(const json& object, std::string& failed) {
  JsonFields fields(object);
  StoredDisk disk;
  disk.number = fields.smallNumber("diskNumber");
  disk.sectorSize = fields.smallNumber("sectorSize");
  disk.size = fields.number("diskSize");
  disk.minSize = fields.number("diskMinSize");
  disk.storedBytes = fields.number("storedBytes");
  disk.partitioningSchemes = fields.signedNumber("partitioningSchemes");
  disk.gptId = guidOf(fields.hexadecimal("gptID", idDigits));
  disk.name = fields.text("name");
  disk.bsdName = fields.text("bsdName");
  disk.image = fields.text("image");
  disk.map = fields.text("map");
  if (!isFileName(disk.image, ".pvhd")) fields.fail("image");
  if (!isFileName(disk.map, ".map")) fields.fail("map");
  for (const json& partition : fields.array("partitions", mostPartitions)) {
    disk.partitions.push_back(partitionOf(partition, failed));
  }
  if (const auto unreadable = object.find("unreadable"); unreadable != object.end()) {
    std::optional<std::vector<ByteRange>> ranges = rangesOf(*unreadable, disk.size);
    if (!ranges) fields.fail("unreadable");
    if (ranges) disk.unreadable = std::move(*ranges);
  }
  if (failed.empty()) failed = fields.failed();
  return disk;
}

// Two disks in one file would each be the other's damage.
bool sharesAFile(const std::vector<StoredDisk>& disks, std::size_t place) {
  const auto isTheSame = [&](const StoredDisk& other) {
    return other.image == disks[place].image || other.map == disks[place].map;
  };
  return std::any_of(disks.begin(), disks.begin() + static_cast<std::ptrdiff_t>(place), isTheSame);
}

}  // namespace

std::uint64_t unreadableSectors(const PointIndex& index) {
  std::uint64_t sectors = 0;
  for (const StoredDisk& disk : index.disks) {
    for (const ByteRange& range : disk.unreadable) sectors += range.size() / std::max(disk.sectorSize, 1U);
  }
  return sectors;
}

std::uint64_t unreadableSectorsSince(const PointIndex& before, const PointIndex& index) {
  std::uint64_t sectors = unreadableSectors(index);
  for (std::size_t i = 0; i < std::min(index.disks.size(), before.disks.size()); ++i) {
    for (const ByteRange& range : index.disks[i].unreadable) {
      for (const ByteRange& old : before.disks[i].unreadable) {
        const std::uint64_t start = std::max(range.start, old.start);
        const std::uint64_t end = std::min(range.end, old.end);
        if (start < end) sectors -= (end - start) / std::max(index.disks[i].sectorSize, 1U);
      }
    }
  }
  return sectors;
}

std::string textOf(const PointIndex& index) {
  json disks = json::array();
  for (const StoredDisk& disk : index.disks) disks.push_back(jsonOf(disk));
  json object = {{"version", archiveFormatVersion},
                 {"id", index.id},
                 {"parent", index.parent},
                 {"kind", index.kind == PointKind::Full ? "full" : "increment"},
                 {"creationTime", index.creationTime},
                 {"label", index.label},
                 {"pinned", index.isPinned},
                 {"disks", std::move(disks)}};
  if (index.check) object["lastCheck"] = {{"time", index.check->time}, {"damaged", index.check->isDamaged}};
  return jsonText(object);
}

ArchiveResult<PointIndex> parsePointIndex(const std::string& text, const std::string& path) {
  const ArchiveResult<json> object = JsonFields::parse(text, path);
  if (!object) return object.error();
  JsonFields fields(*object);
  const std::uint64_t version = fields.number("version");
  if (version > archiveFormatVersion) {
    return ArchiveError{ArchiveFault::NewerFormat, "The backup point was made by a newer version", path, 0, 0};
  }
  const ArchiveResult<Done> whole = JsonFields::checkDigest(*object, path);
  if (!whole) return whole.error();
  std::string failed;
  PointIndex index;
  index.id = fields.hexadecimal("id", idDigits);
  const std::string kind = fields.text("kind");
  if (kind != "full" && kind != "increment") fields.fail("kind");
  index.kind = kind == "full" ? PointKind::Full : PointKind::Increment;
  if (index.kind == PointKind::Increment) {
    index.parent = fields.hexadecimal("parent", idDigits);
  } else if (!fields.text("parent").empty()) {
    fields.fail("parent");
  }
  index.creationTime = fields.signedNumber("creationTime");
  index.label = fields.text("label");
  index.isPinned = fields.flag("pinned");
  for (const json& disk : fields.array("disks", mostDisks)) index.disks.push_back(diskOf(disk, failed));
  if (failed.empty()) failed = fields.failed();
  if (const auto check = object->find("lastCheck"); check != object->end()) {
    JsonFields checkFields(*check);
    index.check = LastCheck{checkFields.signedNumber("time"), checkFields.flag("damaged")};
    if (failed.empty()) failed = checkFields.failed();
  }
  for (std::size_t i = 0; failed.empty() && i < index.disks.size(); ++i) {
    if (sharesAFile(index.disks, i)) failed = "image";
  }
  if (!failed.empty()) return damagedError("The backup point's index has no usable \"" + failed + "\"", path);
  return index;
}

}  // namespace zpk
