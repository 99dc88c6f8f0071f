#include "records/RLDDisk.h"

#include "app/presentation/ByteSizeString.h"
#include "records/FieldDecoding.h"

namespace zpk {

RLDDisk::RLDDisk(const KeyedDecoder& coder)
    : _fields{
          .diskNumber = coder.decodeRawBytes<std::uint32_t>("diskNumber"),
          .sectorSize = coder.decodeRawBytes<std::uint32_t>("sectorSize"),
          .diskSize = coder.decodeRawBytes<std::uint64_t>("diskSize"),
          .diskMinSize = coder.decodeRawBytes<std::uint64_t>("diskMinSize"),
          .name = decodeText(coder, "name"),
          .gptID = decodeGUID(coder, "gptID"),
          .partitions = decodeList<RLDPartition>(coder, "partitions"),
          .iconPath = decodeText(coder, "iconPath"),
          .partitioningSchemes = coder.decodeInteger("partitioningSchemes"),
          .bsdName = decodeText(coder, "bsdName"),
          .filePath = decodeText(coder, "filePath"),
      } {}

const RecordList<RLDPartition>& RLDDisk::partitions() const {
  return orEmpty(_fields.partitions);
}

void RLDDisk::encodeWithCoder(KeyedEncoder& coder) const {
  coder.encodeRawBytes(_fields.diskNumber, "diskNumber");
  coder.encodeRawBytes(_fields.diskSize, "diskSize");
  coder.encodeRawBytes(_fields.diskMinSize, "diskMinSize");
  coder.encodeRawBytes(_fields.sectorSize, "sectorSize");
  coder.encodeObject(_fields.name, "name");
  encodeObjectIfPresent(coder, guidValue(_fields.gptID), "gptID");
  encodeObjectIfPresent(coder, listValue(_fields.partitions), "partitions");
  encodeObjectIfPresent(coder, _fields.iconPath, "iconPath");
  coder.encodeInteger(_fields.partitioningSchemes, "partitioningSchemes");
  encodeObjectIfPresent(coder, _fields.bsdName, "bsdName");
  coder.encodeObject(_fields.filePath, "filePath");
}

std::string RLDDisk::description(const Localization& localization) const {
  return "{ Disk/\"" + describedText(_fields.name) + "\"/" + byteSizeString(_fields.diskSize) + "(" +
         std::to_string(_fields.diskSize) + "b)/parts:(\n" + joinedDescriptions(partitions(), localization) +
         " ) }";
}

}  // namespace zpk
