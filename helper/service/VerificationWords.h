#pragma once

#include "base/Value.h"
#include "helper/service/model/ArchiveKeeper.h"

namespace zpk {

// A report in the form of com.tarnwick.ZPKMaintenance's `lastVerification`.
Dictionary wordsOf(const VerificationReport& report);

// How the points of an archive fared, in the form of its `pointHealth`: no points when there is no archive.
Dictionary healthWords(const ArchiveView& view);

}  // namespace zpk
