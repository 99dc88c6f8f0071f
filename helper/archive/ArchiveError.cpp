#include "helper/archive/ArchiveError.h"

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
