#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Localization.h"
#include "base/Record.h"
#include "base/Value.h"
#include "records/RLDArcDisk.h"
#include "records/RecordList.h"

namespace zpk {

// A backup point: one full backup or increment of an archive, with the disks that it stores.
class RLDArchiveItem final : public Record {
 public:
  // The properties, each once; what is left out is false, 0 or nothing.
  struct Fields {
    bool isPinned = false;
    // Index of the backup point in its archive.
    std::uint32_t arcIndex = 0;
    // When it was made.
    std::optional<Date> creationDate = std::nullopt;
    std::optional<RecordList<RLDArcDisk>> disks = std::nullopt;
    // Path of the backup point's index file.
    std::optional<std::string> indexFilePath = std::nullopt;
    // The user's label.
    std::optional<std::string> name = std::nullopt;
  };

  explicit RLDArchiveItem(Fields fields) : _fields(std::move(fields)) {}
  explicit RLDArchiveItem(const KeyedDecoder& coder);

  bool isPinned() const { return _fields.isPinned; }
  std::uint32_t arcIndex() const { return _fields.arcIndex; }
  const std::optional<Date>& creationDate() const { return _fields.creationDate; }
  // No list reads as an empty one; fields() tells the two apart.
  const RecordList<RLDArcDisk>& disks() const;
  const std::optional<std::string>& indexFilePath() const { return _fields.indexFilePath; }
  const std::optional<std::string>& name() const { return _fields.name; }

  // All of them, to build a changed copy from.
  const Fields& fields() const { return _fields; }

  // Asks the main controller to pin or unpin this backup point; without one nothing happens. The record stays as it
  // is: the new state comes with the helper's next status. Main thread only.
  void setIsPinned(bool flag) const;

  // { ArcItem/"index file path"/disks:(\n…\n… ) } with the description of each disk.
  std::string description(const Localization& localization) const;

  std::string_view className() const override { return "RLDArchiveItem"; }
  void encodeWithCoder(KeyedEncoder& coder) const override;

 private:
  Fields _fields;
};

}  // namespace zpk
