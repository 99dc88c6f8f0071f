#pragma once

#include <memory>

#include "records/RLDArchive.h"

namespace zpk {

// The application's own class of archive, made from the helper's.
class ZPKArchive final : public RLDArchive {
 public:
  using RLDArchive::RLDArchive;

  // A deep copy of `archive`, through a keyed archive. Never null.
  static std::shared_ptr<const ZPKArchive> archiveWithRLDArchive(const RLDArchive& archive);

  std::string_view className() const override { return "ZPKArchive"; }
};

}  // namespace zpk
