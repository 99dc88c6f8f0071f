#pragma once

#include <string>
#include <string_view>

#include "helper/archive/ArchiveError.h"
#include "helper/process/CancelFlag.h"

namespace zpk {

// In what state an NTFS volume is, as far as reading it as a backup is concerned.
enum class SourceState {
  Fit,
  Hibernated,    // Windows sleeps on it: parts of its content are in memory only.
  Dirty,         // It was not closed cleanly.
  Inconsistent,  // Its structures contradict each other.
  Encrypted,     // By Windows.
  BadSectors,    // The tools were refused a part of its structures.
  NotNtfs,
  Unreadable,  // The tools could not find out; `detail` has their words.
  Cancelled,
};

struct SourceFinding {
  SourceState state = SourceState::Unreadable;
  std::string detail;  // What the tool said, for the log.

  bool isFit() const { return state == SourceState::Fit; }
  // What happened and what to do about it, for people; empty when fit or cancelled.
  std::string sentence() const;
};

// Whether that is a tool's complaint about a read that the device refused.
bool tellsOfBadSectors(std::string_view said);

// Asks the NTFS tools about the volume on `device`, which they only read. Two of them, because one sees a
// hibernated volume but not a dirty one, and the other the reverse. Encryption is for the caller to notice. Nothing
// but the tools touches the device, so that one that does not answer can be given up.
SourceFinding checkNtfsSource(const std::string& device, const CancelFlag& cancel);

}  // namespace zpk
