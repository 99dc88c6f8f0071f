#pragma once

#include <string>
#include <utility>

#include "helper/archive/ArchiveError.h"

namespace zpk {

// A new empty file on which a FUSE file system is mounted. When this object goes, the file goes too, and with it
// whatever is mounted there still.
class ExportPlace {
 public:
  // `folder` is made when it is not there, for this user alone.
  static ArchiveResult<ExportPlace> make(const std::string& folder);

  ExportPlace(ExportPlace&& other) noexcept : _path(std::exchange(other._path, {})) {}
  ExportPlace& operator=(ExportPlace&&) = delete;
  ~ExportPlace();

  const std::string& path() const { return _path; }

 private:
  explicit ExportPlace(std::string path) : _path(std::move(path)) {}

  std::string _path;
};

// Takes away what a helper that was killed left in such a folder: mounts whose server is gone, and their files.
// Does not wait for a server that does not answer. The folder belongs to one helper alone, which calls this before
// it makes the first place.
void clearExportFolder(const std::string& folder);

}  // namespace zpk
