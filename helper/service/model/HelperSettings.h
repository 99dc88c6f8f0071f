#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/Expected.h"
#include "base/FileManager.h"

namespace zpk {

// How many increments an archive may be told to keep.
inline constexpr std::uint64_t kFewestIncrements = 1;
inline constexpr std::uint64_t kMostIncrements = 100;

// What the helper remembers from one start to the next. A value.
struct HelperSettings {
  std::optional<std::string> source;         // Text form of the source disk's GPT identifier.
  std::optional<std::string> archivePath;    // Full path of the archive.
  std::optional<std::uint32_t> archiveUser;  // Id of who chose it; nothing on a session bus.
  std::uint64_t maxIncrements = 10;
  bool checkFileSystem = true;
  std::optional<std::string> lastBackupError;  // Nothing once a backup succeeded.
  bool backupRunning = false;                  // Set while one runs: found at a start, it was cut off.
  std::optional<std::string>
      restoringOnto;                // Name of a disk while a restore onto it runs; found at a start likewise.
  std::int64_t stateTimeLimit = 0;  // No state time at or above it was ever given out.

  friend bool operator==(const HelperSettings&, const HelperSettings&) = default;
};

// Keeps the settings where they survive the helper.
class SettingsStore {
 public:
  virtual ~SettingsStore() = default;
  // On an error the settings kept before are still the ones that are kept.
  virtual Expected<Done, FileError> save(const HelperSettings& settings) = 0;
};

}  // namespace zpk
