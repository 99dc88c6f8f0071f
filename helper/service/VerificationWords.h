#pragma once

#include "base/Value.h"
#include "helper/service/model/ArchiveKeeper.h"

namespace zpk {

// A report in the form of com.tarnwick.ZPKMaintenance's `lastVerification`.
Dictionary wordsOf(const VerificationReport& report);

}  // namespace zpk
