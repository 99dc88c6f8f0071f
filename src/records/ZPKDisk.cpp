#include "records/ZPKDisk.h"

#include "records/FieldDecoding.h"

namespace zpk {

ZPKDisk::ZPKDisk(const KeyedDecoder& coder)
    : RLDDisk(coder),
      _partIndexes(decodeDictionary(coder, "partIndexes")),
      _isBootCamp(coder.decodeBool("isBootCamp")),
      _isRestoreTarget(coder.decodeBool("isRestoreTarget")),
      _isEmpty(coder.decodeBool("isEmpty")) {}

ZPKDisk::ZPKDisk(const KeyedDecoder& copy, DiskAnalysis analysis)
    : RLDDisk(copy),
      _partIndexes(std::move(analysis.partIndexes)),
      _isBootCamp(analysis.isBootCamp),
      _isRestoreTarget(analysis.isRestoreTarget),
      _isEmpty(analysis.isEmpty) {}

std::shared_ptr<const ZPKDisk> ZPKDisk::initWithDisk(const RLDDisk& disk) {
  std::optional<DiskAnalysis> analysis = analyseDisk(disk);
  if (!analysis) return nullptr;
  const Dictionary copy = roundTrip(disk, recordClasses());
  return std::shared_ptr<const ZPKDisk>(new ZPKDisk(KeyedDecoder(copy), std::move(*analysis)));
}

std::shared_ptr<const ZPKDisk> ZPKDisk::diskWithDisk(const RLDDisk& disk) {
  return initWithDisk(disk);
}

std::shared_ptr<const RLDPartition> ZPKDisk::objectForKeyedSubscript(std::string_view key) const {
  if (!_partIndexes) return nullptr;
  const Value& index = (*_partIndexes)[key];
  if (!index.isNumber()) return nullptr;
  // Also what was not found: no list is that long.
  const std::uint64_t position = index.unsignedIntegerValue();
  return position < partitions().size() ? partitions()[position] : nullptr;
}

std::uint64_t ZPKDisk::countOfLegacyRestoreSlots() const {
  std::uint64_t count = 4;
  for (const auto& partition : partitions()) {
    if (partition->partType() == 0) continue;
    const TMBGPTType type = gptTypeOf(partition->gptTypeGUID());
    const bool isWindowsSide = type == TMBGPTType::MicrosoftBasicData || type == TMBGPTType::MicrosoftReserved ||
                               type == TMBGPTType::WindowsRecovery;
    if (!isWindowsSide && --count == 0) break;
  }
  return count;
}

std::shared_ptr<const Image> ZPKDisk::icon(const ImageLoader& images) const {
  return iconPath() ? images.imageFromFile(*iconPath()) : nullptr;
}

std::string ZPKDisk::description(const Localization& localization) const {
  const auto digit = [](bool flag) { return flag ? "1" : "0"; };
  return std::string("(ZPK: isBC: ") + digit(_isBootCamp) + " isR:" + digit(_isRestoreTarget) +
         " isE:" + digit(_isEmpty) + " " + RLDDisk::description(localization) + ")";
}

void ZPKDisk::encodeWithCoder(KeyedEncoder& coder) const {
  RLDDisk::encodeWithCoder(coder);
  coder.encodeObject(_partIndexes, "partIndexes");
  coder.encodeBool(_isBootCamp, "isBootCamp");
  coder.encodeBool(_isRestoreTarget, "isRestoreTarget");
  coder.encodeBool(_isEmpty, "isEmpty");
}

}  // namespace zpk
