#include "records/ZPKArchive.h"

#include "base/KeyedArchive.h"
#include "base/KeyedCoder.h"
#include "records/RecordClasses.h"

namespace zpk {

std::shared_ptr<const ZPKArchive> ZPKArchive::archiveWithRLDArchive(const RLDArchive& archive) {
  const Dictionary copy = roundTrip(archive, recordClasses());
  return std::make_shared<const ZPKArchive>(KeyedDecoder(copy));
}

}  // namespace zpk
