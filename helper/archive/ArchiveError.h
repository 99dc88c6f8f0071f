#pragma once

#include <cstdint>
#include <string>

#include "base/Expected.h"

namespace zpk {

// Why an operation on an archive or its source ended without a result.
enum class ArchiveFault {
  Cancelled,
  ReadFailed,    // The source, or an image that is read back.
  WriteFailed,   // The destination; the new point is void.
  NoSpace,       // The destination is full.
  Locked,        // Another process writes the archive.
  NotFound,      // There is no archive at the path.
  NotAnArchive,  // Something is there that was never an archive, or of a foreign format.
  NewerFormat,   // Written by a later version of the format.
  Damaged,       // It is an archive, but its bytes contradict themselves or their hashes.
  Refused,       // What was asked for is against a rule that the message tells.
  SourceUnfit,   // The source must not be read in the state it is in.
  ToolFailed,    // A tool of the system could not be run or gave no usable answer.
};

// A failure as a value: a sentence for people, and where it happened for the log.
struct ArchiveError {
  ArchiveFault fault = ArchiveFault::Damaged;
  std::string message;  // A plain sentence without its full stop: "The image could not be written".
  std::string path;     // The file or device concerned, or empty.
  std::uint64_t offset = 0;
  int errorNumber = 0;  // errno of the failed call, or 0.

  // "The image could not be written: /b/disk0.pvhd at 65536: No space left on device"
  std::string text() const;
};

template <class T>
using ArchiveResult = Expected<T, ArchiveError>;

ArchiveError cancelledError();

// Whether the next attempt would meet the error again: what is read is damaged, is not there, or lies where the
// medium gives nothing.
bool isLasting(const ArchiveError& error);
// The same, and it is not that a later version would know more: what was written is lost.
bool isLoss(const ArchiveError& error);

// A failed write to the destination; a full one gets a fault of its own.
ArchiveError writeError(std::string message, std::string path, std::uint64_t offset, int errorNumber);
ArchiveError readError(std::string message, std::string path, std::uint64_t offset, int errorNumber);
ArchiveError damagedError(std::string message, std::string path, std::uint64_t offset = 0);

}  // namespace zpk
