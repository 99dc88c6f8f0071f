#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Image.h"
#include "base/Value.h"
#include "records/DiskAnalysis.h"
#include "records/RLDDisk.h"

namespace zpk {

// A disk that can be backed up or restored to: a disk record with what its partition layout says about it.
//
// Disks of no interest have no ZPKDisk; that is how they drop out of the lists. What was found travels with the
// record: decoding does not analyse again.
class ZPKDisk final : public RLDDisk {
 public:
  explicit ZPKDisk(const KeyedDecoder& coder);

  // A copy of `disk`, analysed; null when the disk is refused.
  static std::shared_ptr<const ZPKDisk> initWithDisk(const RLDDisk& disk);
  static std::shared_ptr<const ZPKDisk> diskWithDisk(const RLDDisk& disk);

  // The layout includes a Windows partition.
  bool isBootCamp() const { return _isBootCamp; }
  // A Windows backup may be restored onto this disk.
  bool isRestoreTarget() const { return _isRestoreTarget; }
  // Nothing but auxiliary partitions, if any.
  bool isEmpty() const { return _isEmpty; }

  // The partition in a role (a key of DiskAnalysis::partIndexes); null when it was not found, the key is none, or
  // the record's index is not one of its partitions.
  std::shared_ptr<const RLDPartition> objectForKeyedSubscript(std::string_view key) const;

  // How many entries of a partition table with four of them are left for a restored Windows side: 0 to 4.
  std::uint64_t countOfLegacyRestoreSlots() const;

  // The picture at iconPath; null when it cannot be loaded.
  std::shared_ptr<const Image> icon(const ImageLoader& images) const;

  // (ZPK: isBC: 1 isR:1 isE:0 { Disk/… })
  std::string description(const Localization& localization) const override;

  std::string_view className() const override { return "ZPKDisk"; }
  void encodeWithCoder(KeyedEncoder& coder) const override;

 private:
  ZPKDisk(const KeyedDecoder& copy, DiskAnalysis analysis);

  // Nothing only when the record was decoded without it.
  std::optional<Dictionary> _partIndexes;
  bool _isBootCamp;
  bool _isRestoreTarget;
  bool _isEmpty;
};

}  // namespace zpk
