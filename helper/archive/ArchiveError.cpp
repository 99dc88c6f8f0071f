#include "helper/archive/ArchiveError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace zpk {

std::string ArchiveError::text() const {
  std::string result = message;
  if (!path.empty()) {
    result += ": " + path;
    if (offset != 0) result += " at " + std::to_string(offset);
  }
  if (errorNumber != 0) result += std::string(": ") + std::strerror(errorNumber);
  return result;
}

ArchiveError cancelledError() {
  return {ArchiveFault::Cancelled, "The operation was stopped", {}, 0, 0};
}

bool isLasting(const ArchiveError& error) {
  if (error.fault == ArchiveFault::Damaged || error.fault == ArchiveFault::NewerFormat) return true;
  if (error.fault != ArchiveFault::ReadFailed) return false;
  constexpr std::array missingOrBad = {0, ENOENT, ENOTDIR, EISDIR, ELOOP, EIO, ENODATA, EREMOTEIO, EILSEQ, EBADMSG};
  return std::ranges::find(missingOrBad, error.errorNumber) != missingOrBad.end();
}

bool isLoss(const ArchiveError& error) {
  return isLasting(error) && error.fault != ArchiveFault::NewerFormat;
}

ArchiveError writeError(std::string message, std::string path, std::uint64_t offset, int errorNumber) {
  const bool full = errorNumber == ENOSPC || errorNumber == EDQUOT;
  return {full ? ArchiveFault::NoSpace : ArchiveFault::WriteFailed, std::move(message), std::move(path), offset,
          errorNumber};
}

ArchiveError readError(std::string message, std::string path, std::uint64_t offset, int errorNumber) {
  return {ArchiveFault::ReadFailed, std::move(message), std::move(path), offset, errorNumber};
}

ArchiveError damagedError(std::string message, std::string path, std::uint64_t offset) {
  return {ArchiveFault::Damaged, std::move(message), std::move(path), offset, 0};
}

}  // namespace zpk
