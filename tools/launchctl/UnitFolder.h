#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Expected.h"
#include "tools/launchctl/Calendar.h"

namespace zpk {

// The folder of the unit files that belong to the user's data: $XDG_DATA_HOME/systemd/user. The service manager
// reads it without being told, and what the user writes himself belongs elsewhere (~/.config/systemd/user) and goes
// before it.
class UnitFolder {
 public:
  // `path` is absolute; it need not exist.
  explicit UnitFolder(std::string path) : _path(std::move(path)) {}

  std::string pathOf(std::string_view name) const { return _path + "/" + std::string(name); }
  // The file's content; nothing when there is none that can be read.
  std::optional<std::string> contents(std::string_view name) const;
  // Whether both are one file, however they are spelled, and be it gone.
  bool isPathOf(std::string_view path, std::string_view name) const;
  // Labels of the jobs that have a unit made by systemdUnits here, sorted.
  std::vector<std::string> labels() const;
  // The same, of those that were made from the job file `plist`.
  std::vector<std::string> labelsMadeFrom(std::string_view plist) const;

  // Replaces a file as a whole; the folder is made when it is missing.
  Expected<Done, JobError> save(std::string_view name, std::string_view text) const;
  // Nothing to remove is no error.
  Expected<Done, JobError> remove(std::string_view name) const;

 private:
  template <class Predicate>
  std::vector<std::string> labelsOfUnits(Predicate isWanted) const;

  std::string _path;
};

}  // namespace zpk
