#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Localization.h"
#include "base/Record.h"
#include "base/Value.h"
#include "records/TMBGUID.h"

namespace zpk {

// One entry of a disk's partition table, of a live disk or of one stored in an archive.
//
// Built once by decoding or by the helper's scanner, never changed, shared freely between threads. Sizes and
// positions are bytes. A `partType` of 0 marks an unused entry, which still counts in partition indexes.
class RLDPartition : public Record {
 public:
  // The properties, each once; what is left out is false, 0 or nothing.
  struct Fields {
    // The partition can be resized.
    bool isResizable = false;
    // The partition holds the running system.
    bool isSystem = false;
    std::uint32_t partNumber = 0;
    std::uint32_t diskNumber = 0;
    std::uint32_t sectorSize = 0;
    std::uint64_t partSize = 0;
    std::uint64_t partMinSize = 0;
    std::uint64_t partMaxSize = 0;
    std::uint64_t partUsedSize = 0;
    // First and last position on the disk.
    std::uint64_t partStart = 0;
    std::uint64_t partEnd = 0;
    std::uint64_t partType = 0;
    std::optional<TMBGUID> gptTypeGUID = std::nullopt;
    // An object of any kind, which the program only passes on.
    Value serialNumber = {};
    std::optional<std::string> mountPoint = std::nullopt;
    // Index into the names of FileSystemType.h.
    std::int64_t fileSystemType = 0;
    std::optional<std::string> name = std::nullopt;
    std::optional<std::string> bsdName = std::nullopt;
  };

  explicit RLDPartition(Fields fields) : _fields(std::move(fields)) {}
  explicit RLDPartition(const KeyedDecoder& coder);

  bool isResizable() const { return _fields.isResizable; }
  bool isSystem() const { return _fields.isSystem; }
  std::uint32_t partNumber() const { return _fields.partNumber; }
  std::uint32_t diskNumber() const { return _fields.diskNumber; }
  std::uint32_t sectorSize() const { return _fields.sectorSize; }
  std::uint64_t partSize() const { return _fields.partSize; }
  std::uint64_t partMinSize() const { return _fields.partMinSize; }
  std::uint64_t partMaxSize() const { return _fields.partMaxSize; }
  std::uint64_t partUsedSize() const { return _fields.partUsedSize; }
  std::uint64_t partStart() const { return _fields.partStart; }
  std::uint64_t partEnd() const { return _fields.partEnd; }
  std::uint64_t partType() const { return _fields.partType; }
  const std::optional<TMBGUID>& gptTypeGUID() const { return _fields.gptTypeGUID; }
  const Value& serialNumber() const { return _fields.serialNumber; }
  const std::optional<std::string>& mountPoint() const { return _fields.mountPoint; }
  std::int64_t fileSystemType() const { return _fields.fileSystemType; }
  const std::optional<std::string>& name() const { return _fields.name; }
  const std::optional<std::string>& bsdName() const { return _fields.bsdName; }

  // All of them, to build a changed copy from.
  const Fields& fields() const { return _fields; }

  // { Part/"name"/size(bytesb)/file system/device }
  std::string description(const Localization& localization) const;

  std::string_view className() const override { return "RLDPartition"; }
  void encodeWithCoder(KeyedEncoder& coder) const override;

 private:
  Fields _fields;
};

}  // namespace zpk
