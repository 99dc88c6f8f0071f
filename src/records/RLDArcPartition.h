#pragma once

#include "records/RLDPartition.h"

namespace zpk {

// A partition of a disk that is stored in an archive.
class RLDArcPartition final : public RLDPartition {
 public:
  RLDArcPartition(Fields fields, std::optional<std::string> indexFilePath);
  explicit RLDArcPartition(const KeyedDecoder& coder);

  // Path of the archive index file that the record was read from.
  const std::optional<std::string>& indexFilePath() const { return _indexFilePath; }

  std::string_view className() const override { return "RLDArcPartition"; }
  void encodeWithCoder(KeyedEncoder& coder) const override;

 private:
  std::optional<std::string> _indexFilePath;
};

}  // namespace zpk
