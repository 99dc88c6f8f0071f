#include "records/RLDArchiveItem.h"

#include "base/KeyedCoder.h"
#include "records/ArchiveItemPinning.h"
#include "records/FieldDecoding.h"

namespace zpk {

RLDArchiveItem::RLDArchiveItem(const KeyedDecoder& coder)
    : _fields{
          .isPinned = coder.decodeBool("pinned"),
          .arcIndex = coder.decodeRawBytes<std::uint32_t>("arcIndex"),
          .creationDate = decodeDate(coder, "creationDate"),
          .disks = decodeList<RLDArcDisk>(coder, "disks"),
          .indexFilePath = decodeText(coder, "indexFilePath"),
          .name = decodeText(coder, "name"),
      } {}

const RecordList<RLDArcDisk>& RLDArchiveItem::disks() const {
  return orEmpty(_fields.disks);
}

void RLDArchiveItem::setIsPinned(bool flag) const {
  if (const auto controller = mainController()) controller->pin(flag, *this);
}

void RLDArchiveItem::encodeWithCoder(KeyedEncoder& coder) const {
  coder.encodeObject(_fields.creationDate, "creationDate");
  coder.encodeObject(listValue(_fields.disks), "disks");
  coder.encodeObject(_fields.indexFilePath, "indexFilePath");
  coder.encodeRawBytes(_fields.arcIndex, "arcIndex");
  coder.encodeObject(_fields.name, "name");
  coder.encodeBool(_fields.isPinned, "pinned");
}

std::string RLDArchiveItem::description(const Localization& localization) const {
  return "{ ArcItem/\"" + describedText(_fields.indexFilePath) + "\"/disks:(\n" +
         joinedDescriptions(disks(), localization) + " ) }";
}

}  // namespace zpk
