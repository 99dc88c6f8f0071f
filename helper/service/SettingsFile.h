#pragma once

#include <string>
#include <string_view>

#include "helper/service/model/HelperSettings.h"

namespace zpk {

// The settings in a file of their own, as JSON:
//
//   {"version": 1, "source": "c12a7328-…", "archivePath": "/backups/Windows.rldbackup", "maxIncrements": 10,
//    "checkFileSystem": true, "lastBackupError": "…", "backupRunning": false, "stateTimeLimit": 1700000000000000}
//
// What is not set is left out. A key of another kind or out of range makes the file unreadable as a whole: half of
// somebody's settings would be a guess.
std::string settingsText(const HelperSettings& settings);

struct SettingsTextError {
  std::string reason;
};
Expected<HelperSettings, SettingsTextError> settingsFromText(std::string_view text);

// Saved as a whole or not at all: a crash or a full disk leaves the file that was there.
class SettingsFile final : public SettingsStore {
 public:
  // A file longer than this is not ours.
  static constexpr std::uint64_t kLongest = 64 << 10;

  SettingsFile(FileManager& files, std::string path) : _files(files), _path(std::move(path)) {}

  struct Loaded {
    HelperSettings settings;
    std::string complaint;  // Why these are the defaults though there is a file; empty when all is well.
  };
  // The defaults when there is no file, and, with a complaint, when its content is no settings; it is then kept
  // beside as "….unreadable". An error when there is a file that this process cannot read: saving would destroy it.
  Expected<Loaded, FileError> load();

  Expected<Done, FileError> save(const HelperSettings& settings) override;

 private:
  FileManager& _files;
  std::string _path;
};

}  // namespace zpk
