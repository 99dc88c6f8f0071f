#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/KeyedArchive.h"
#include "base/KeyedCoder.h"
#include "base/Localization.h"
#include "base/Record.h"
#include "records/RLDPartition.h"
#include "records/RecordClasses.h"
#include "records/RecordList.h"
#include "records/TMBGUID.h"

namespace zpk {

// A disk as the helper sees it, or as it is stored in an archive.
//
// Built once by decoding or by the helper's scanner, never changed, shared freely between threads. Sizes are bytes.
class RLDDisk : public Record {
 public:
  // The properties, each once; what is left out is 0 or nothing.
  struct Fields {
    // The system's number of the disk.
    std::uint32_t diskNumber = 0;
    std::uint32_t sectorSize = 0;
    std::uint64_t diskSize = 0;
    std::uint64_t diskMinSize = 0;
    std::optional<std::string> name = std::nullopt;
    std::optional<TMBGUID> gptID = std::nullopt;
    // In table order, unused entries included.
    std::optional<RecordList<RLDPartition>> partitions = std::nullopt;
    // Path of the disk's icon image.
    std::optional<std::string> iconPath = std::nullopt;
    // Bits, set by the helper: the schemes found on the disk.
    std::int64_t partitioningSchemes = 0;
    std::optional<std::string> bsdName = std::nullopt;
    std::optional<std::string> filePath = std::nullopt;
  };

  explicit RLDDisk(Fields fields) : _fields(std::move(fields)) {}
  explicit RLDDisk(const KeyedDecoder& coder);

  // A deep copy of `disk` as a Receiver, through a keyed archive: of the two classes' keys it takes those that both
  // have, and keys that only the receiver knows are absent to it.
  template <class Receiver>
  static std::shared_ptr<const Receiver> initWithDisk(const RLDDisk& disk) {
    const Dictionary copy = roundTrip(disk, recordClasses());
    return std::make_shared<const Receiver>(KeyedDecoder(copy));
  }

  std::uint32_t diskNumber() const { return _fields.diskNumber; }
  std::uint32_t sectorSize() const { return _fields.sectorSize; }
  std::uint64_t diskSize() const { return _fields.diskSize; }
  std::uint64_t diskMinSize() const { return _fields.diskMinSize; }
  const std::optional<std::string>& name() const { return _fields.name; }
  const std::optional<TMBGUID>& gptID() const { return _fields.gptID; }
  // No list reads as an empty one; fields() tells the two apart.
  const RecordList<RLDPartition>& partitions() const;
  const std::optional<std::string>& iconPath() const { return _fields.iconPath; }
  std::int64_t partitioningSchemes() const { return _fields.partitioningSchemes; }
  const std::optional<std::string>& bsdName() const { return _fields.bsdName; }
  const std::optional<std::string>& filePath() const { return _fields.filePath; }

  // All of them, to build a changed copy from.
  const Fields& fields() const { return _fields; }

  // { Disk/"name"/size(bytesb)/parts:(\n…\n… ) } with a line for each partition.
  virtual std::string description(const Localization& localization) const;

  std::string_view className() const override { return "RLDDisk"; }
  void encodeWithCoder(KeyedEncoder& coder) const override;

 private:
  Fields _fields;
};

}  // namespace zpk
