#pragma once

#include "records/RLDDisk.h"

namespace zpk {

// A disk that is stored in an archive.
class RLDArcDisk final : public RLDDisk {
 public:
  RLDArcDisk(Fields fields, std::optional<std::string> indexFilePath);
  explicit RLDArcDisk(const KeyedDecoder& coder);

  // Path of the archive index file that the record was read from.
  const std::optional<std::string>& indexFilePath() const { return _indexFilePath; }

  std::string_view className() const override { return "RLDArcDisk"; }
  void encodeWithCoder(KeyedEncoder& coder) const override;

 private:
  std::optional<std::string> _indexFilePath;
};

}  // namespace zpk
