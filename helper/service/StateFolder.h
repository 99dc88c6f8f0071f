#pragma once

#include <string>

#include "base/Expected.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {

// The folder in which the helper keeps its settings and its log: this helper's alone for as long as this lives.
class StateFolder {
 public:
  // Makes the folder, readable by its owner only, and takes its lock. The error is a sentence.
  static Expected<StateFolder, std::string> open(const std::string& path);

  // Where it is when nobody says: $XDG_STATE_HOME/zpk or ~/.local/state/zpk for a helper on the session bus,
  // /var/lib/zpk on the system bus.
  static std::string usualPath(bool session);

  std::string fileAt(const std::string& name) const { return _path + "/" + name; }

 private:
  StateFolder(std::string path, FileDescriptor lock) : _path(std::move(path)), _lock(std::move(lock)) {}

  std::string _path;
  FileDescriptor _lock;
};

}  // namespace zpk
