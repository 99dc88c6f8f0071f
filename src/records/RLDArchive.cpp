#include "records/RLDArchive.h"

#include "base/KeyedCoder.h"
#include "records/FieldDecoding.h"

namespace zpk {

RLDArchive::RLDArchive(const KeyedDecoder& coder)
    : _fields{
          .isLegacy = coder.decodeBool("legacy"),
          .items = decodeList<RLDArchiveItem>(coder, "items"),
          .indexFilePath = decodeText(coder, "indexFilePath"),
      } {}

const RecordList<RLDArchiveItem>& RLDArchive::items() const {
  return orEmpty(_fields.items);
}

void RLDArchive::encodeWithCoder(KeyedEncoder& coder) const {
  coder.encodeObject(listValue(_fields.items), "items");
  coder.encodeObject(_fields.indexFilePath, "indexFilePath");
  coder.encodeBool(_fields.isLegacy, "legacy");
}

std::string RLDArchive::description(const Localization& localization) const {
  return "{ Arc/\"" + describedText(_fields.indexFilePath) + "\"/items:(\n" +
         joinedDescriptions(items(), localization) + " ) }";
}

}  // namespace zpk
