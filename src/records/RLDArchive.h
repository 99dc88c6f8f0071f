#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Localization.h"
#include "base/Record.h"
#include "records/RLDArchiveItem.h"
#include "records/RecordList.h"

namespace zpk {

// A backup archive: a chain of backup points.
class RLDArchive : public Record {
 public:
  // The properties, each once; what is left out is false or nothing.
  struct Fields {
    // The archive is of the older kind.
    bool isLegacy = false;
    std::optional<RecordList<RLDArchiveItem>> items = std::nullopt;
    // Path of the archive's index file.
    std::optional<std::string> indexFilePath = std::nullopt;
  };

  explicit RLDArchive(Fields fields) : _fields(std::move(fields)) {}
  explicit RLDArchive(const KeyedDecoder& coder);

  bool isLegacy() const { return _fields.isLegacy; }
  // No list reads as an empty one; fields() tells the two apart.
  const RecordList<RLDArchiveItem>& items() const;
  const std::optional<std::string>& indexFilePath() const { return _fields.indexFilePath; }

  // All of them, to build a changed copy from.
  const Fields& fields() const { return _fields; }

  // { Arc/"index file path"/items:(\n…\n… ) } with the description of each backup point.
  std::string description(const Localization& localization) const;

  std::string_view className() const override { return "RLDArchive"; }
  void encodeWithCoder(KeyedEncoder& coder) const override;

 private:
  Fields _fields;
};

}  // namespace zpk
