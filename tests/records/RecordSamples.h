#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/KeyedArchive.h"
#include "base/KeyedCoder.h"
#include "records/RLDArcDisk.h"
#include "records/RLDArcPartition.h"
#include "records/RLDArchive.h"
#include "records/RLDDisk.h"
#include "records/RecordClasses.h"

// Records for tests: some with every field filled in, each with a value of its own, and disks spelt as a row of
// letters.
namespace zpk::samples {

// Names of the real thing in another language.
class MarkingLocalization final : public Localization {
 public:
  std::string localizedString(std::string_view key) const override { return "<" + std::string(key) + ">"; }
};

inline RLDPartition::Fields fullPartition() {
  return {.isResizable = true,
          .isSystem = true,
          .partNumber = 0xf0000001,
          .diskNumber = 0xf0000002,
          .sectorSize = 0xf0000003,
          .partSize = 0xf000000000000004,
          .partMinSize = 0xf000000000000005,
          .partMaxSize = 0xf000000000000006,
          .partUsedSize = 0xf000000000000007,
          .partStart = 0xf000000000000008,
          .partEnd = 0xf000000000000009,
          .partType = 0xf00000000000000a,
          .gptTypeGUID = TMBGUID::GUIDWithGPTType(TMBGPTType::MicrosoftBasicData),
          .serialNumber = "1A2B-3C4D",
          .mountPoint = "/Volumes/BOOTCAMP",
          .fileSystemType = 2,
          .name = "BOOTCAMP",
          .bsdName = "disk0s4"};
}

inline RLDDisk::Fields fullDisk() {
  return {.diskNumber = 0xf0000001,
          .sectorSize = 0xf0000002,
          .diskSize = 0xf000000000000003,
          .diskMinSize = 0xf000000000000004,
          .name = "Internal",
          .gptID = TMBGUID::GUIDWithGPTType(TMBGPTType::AppleRAID),
          .partitions = RecordList<RLDPartition>{std::make_shared<const RLDPartition>(fullPartition()),
                                                 std::make_shared<const RLDArcPartition>(fullPartition(), "/p")},
          .iconPath = "/disk.icns",
          .partitioningSchemes = -7,
          .bsdName = "disk0",
          .filePath = "/disk.img"};
}

inline RLDArchiveItem::Fields fullArchiveItem() {
  return {.isPinned = true,
          .arcIndex = 0xf0000001,
          .creationDate = Date{1234.5},
          .disks = RecordList<RLDArcDisk>{std::make_shared<const RLDArcDisk>(fullDisk(), "/d")},
          .indexFilePath = "/point.idx",
          .name = "Before the update"};
}

inline RLDArchive::Fields fullArchive() {
  const RLDArchiveItem::Fields second = {.arcIndex = 2};
  return {.isLegacy = true,
          .items = RecordList<RLDArchiveItem>{std::make_shared<const RLDArchiveItem>(fullArchiveItem()),
                                              std::make_shared<const RLDArchiveItem>(second)},
          .indexFilePath = "/archive.idx"};
}

// A partition by its letter: e EFI, h HFS+, r Apple Boot, c Core Storage, m Microsoft Reserved, w Basic Data, o
// Windows Recovery, x of a type that is not known, n without a type identifier, - an unused entry.
inline std::shared_ptr<const RLDPartition> partition(char letter) {
  constexpr std::string_view letters = "?ehrc??wmo";
  RLDPartition::Fields fields{.partType = letter == '-' ? 0u : 1u, .name = std::string(1, letter)};
  const std::size_t code = letters.find(letter);
  if (code != std::string_view::npos) {
    fields.gptTypeGUID = TMBGUID::GUIDWithGPTType(static_cast<TMBGPTType>(code));
  } else if (letter == 'x') {
    fields.gptTypeGUID = TMBGUID();
  }
  return std::make_shared<const RLDPartition>(std::move(fields));
}

inline RLDDisk disk(std::string_view letters, std::int64_t schemes = 2) {
  RecordList<RLDPartition> partitions;
  for (const char letter : letters) partitions.push_back(partition(letter));
  return RLDDisk({.partitions = std::move(partitions), .partitioningSchemes = schemes});
}

// The record after a way over the link: written, and made anew by its class name.
template <class R>
std::shared_ptr<const R> copyOf(const R& record) {
  const auto copy = unarchivedValue(archivedData(std::make_shared<const R>(record)), recordClasses());
  return copy ? copy->template recordOf<R>() : nullptr;
}

}  // namespace zpk::samples
