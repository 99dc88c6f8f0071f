#include "records/RLDPartition.h"

#include "app/presentation/ByteSizeString.h"
#include "base/KeyedCoder.h"
#include "records/FieldDecoding.h"
#include "records/FileSystemType.h"

namespace zpk {

RLDPartition::RLDPartition(const KeyedDecoder& coder)
    : _fields{
          .isResizable = coder.decodeBool("isResizable"),
          .isSystem = coder.decodeBool("isSystem"),
          .partNumber = coder.decodeRawBytes<std::uint32_t>("partNumber"),
          .diskNumber = coder.decodeRawBytes<std::uint32_t>("diskNumber"),
          .sectorSize = coder.decodeRawBytes<std::uint32_t>("sectorSize"),
          .partSize = coder.decodeRawBytes<std::uint64_t>("partSize"),
          .partMinSize = coder.decodeRawBytes<std::uint64_t>("partMinSize"),
          .partMaxSize = coder.decodeRawBytes<std::uint64_t>("partMaxSize"),
          .partUsedSize = coder.decodeRawBytes<std::uint64_t>("partUsedSize"),
          .partStart = coder.decodeRawBytes<std::uint64_t>("partStart"),
          .partEnd = coder.decodeRawBytes<std::uint64_t>("partEnd"),
          .partType = coder.decodeRawBytes<std::uint64_t>("partType"),
          .gptTypeGUID = decodeGUID(coder, "gptTypeGUID"),
          .serialNumber = coder.decodeObject("serialNumber"),
          .mountPoint = decodeText(coder, "mountPoint"),
          .fileSystemType = coder.decodeInteger("fileSystemType"),
          .name = decodeText(coder, "name"),
          .bsdName = decodeText(coder, "bsdName"),
      } {}

void RLDPartition::encodeWithCoder(KeyedEncoder& coder) const {
  coder.encodeRawBytes(_fields.partNumber, "partNumber");
  coder.encodeRawBytes(_fields.diskNumber, "diskNumber");
  coder.encodeRawBytes(_fields.partSize, "partSize");
  coder.encodeRawBytes(_fields.partMinSize, "partMinSize");
  coder.encodeRawBytes(_fields.partMaxSize, "partMaxSize");
  coder.encodeRawBytes(_fields.partUsedSize, "partUsedSize");
  coder.encodeRawBytes(_fields.partStart, "partStart");
  coder.encodeRawBytes(_fields.partEnd, "partEnd");
  coder.encodeRawBytes(_fields.partType, "partType");
  coder.encodeRawBytes(_fields.sectorSize, "sectorSize");
  coder.encodeBool(_fields.isResizable, "isResizable");
  coder.encodeBool(_fields.isSystem, "isSystem");
  encodeObjectIfPresent(coder, guidValue(_fields.gptTypeGUID), "gptTypeGUID");
  encodeObjectIfPresent(coder, _fields.serialNumber, "serialNumber");
  encodeObjectIfPresent(coder, _fields.mountPoint, "mountPoint");
  coder.encodeObject(_fields.name, "name");
  coder.encodeObject(_fields.bsdName, "bsdName");
  coder.encodeInteger(_fields.fileSystemType, "fileSystemType");
}

std::string RLDPartition::description(const Localization& localization) const {
  return "{ Part/\"" + describedText(_fields.name) + "\"/" + byteSizeString(_fields.partSize) + "(" +
         std::to_string(_fields.partSize) + "b)/" + fileSystemTypeName(_fields.fileSystemType, localization) + "/" +
         describedText(_fields.bsdName) + " }";
}

}  // namespace zpk
