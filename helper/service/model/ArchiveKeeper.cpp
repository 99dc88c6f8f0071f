#include "helper/service/model/ArchiveKeeper.h"

#include "records/RLDArchive.h"

namespace zpk {

bool sameView(const ArchiveView& a, const ArchiveView& b) {
  if (a.index() != b.index()) return false;
  if (const auto* present = std::get_if<PresentArchive>(&a)) {
    const auto& other = std::get<PresentArchive>(b);
    return present->sourceDisk == other.sourceDisk && *present->archive == *other.archive &&
           present->health == other.health;
  }
  if (const auto* unreadable = std::get_if<UnreadableArchive>(&a))
    return *unreadable == std::get<UnreadableArchive>(b);
  return true;
}

}  // namespace zpk
