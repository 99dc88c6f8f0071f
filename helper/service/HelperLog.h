#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "base/Log.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {

// The helper's own log: standard error, for the journal or the terminal, and a file that the user can be given.
//
// The file is limited: a full one becomes "….1" in place of the one before. Lines in it begin with the date and
// time. A line that cannot be written is lost; the helper does not fail for its log.
class HelperLog final : public Log {
 public:
  static constexpr std::size_t kFullFile = std::size_t{1} << 20;

  // `path`: of the file, in a folder that only this user can write to. `full`: bytes from which a new one is begun.
  explicit HelperLog(std::string path, std::size_t full = kFullFile);

  void line(std::string_view text) override;

  // The files there may be, the older one first.
  std::vector<std::string> files() const { return {_path + ".1", _path}; }

 private:
  void open();

  const std::string _path;
  const std::size_t _full;
  std::mutex _mutex;
  FileDescriptor _file;
  std::size_t _size = 0;
};

}  // namespace zpk
