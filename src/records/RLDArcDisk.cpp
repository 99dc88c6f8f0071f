#include "records/RLDArcDisk.h"

#include "records/FieldDecoding.h"

namespace zpk {

RLDArcDisk::RLDArcDisk(Fields fields, std::optional<std::string> indexFilePath)
    : RLDDisk(std::move(fields)), _indexFilePath(std::move(indexFilePath)) {}

RLDArcDisk::RLDArcDisk(const KeyedDecoder& coder)
    : RLDDisk(coder), _indexFilePath(decodeText(coder, "indexFilePath")) {}

void RLDArcDisk::encodeWithCoder(KeyedEncoder& coder) const {
  RLDDisk::encodeWithCoder(coder);
  coder.encodeObject(_indexFilePath, "indexFilePath");
}

}  // namespace zpk
