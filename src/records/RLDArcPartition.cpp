#include "records/RLDArcPartition.h"

#include "base/KeyedCoder.h"
#include "records/FieldDecoding.h"

namespace zpk {

RLDArcPartition::RLDArcPartition(Fields fields, std::optional<std::string> indexFilePath)
    : RLDPartition(std::move(fields)), _indexFilePath(std::move(indexFilePath)) {}

RLDArcPartition::RLDArcPartition(const KeyedDecoder& coder)
    : RLDPartition(coder), _indexFilePath(decodeText(coder, "indexFilePath")) {}

void RLDArcPartition::encodeWithCoder(KeyedEncoder& coder) const {
  RLDPartition::encodeWithCoder(coder);
  coder.encodeObject(_indexFilePath, "indexFilePath");
}

}  // namespace zpk
