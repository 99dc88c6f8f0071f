#include "helper/service/HelperLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>

#include "platform/posix/Log_posix.h"

namespace zpk {
namespace {

std::string dateAndTime() {
  const std::time_t time = std::time(nullptr);
  std::tm parts{};
  localtime_r(&time, &parts);
  std::array<char, 40> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S %z ", &parts);
  return std::string(text.data(), length);
}

}  // namespace

HelperLog::HelperLog(std::string path, std::size_t full) : _path(std::move(path)), _full(full) {
  open();
}

void HelperLog::open() {
  _file = FileDescriptor(::open(_path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0600));
  struct stat status {};
  _size = _file && fstat(_file.get(), &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

void HelperLog::line(std::string_view text) {
  const std::lock_guard lock(_mutex);
  PosixLog("zpkhelper").line(text);
  if (!_file) return;
  const std::string line = dateAndTime() + visibleLine(text) + "\n";
  if (_size + line.size() > _full && _size > 0) {
    std::rename(_path.c_str(), (_path + ".1").c_str());
    open();
    if (!_file) return;
  }
  const ssize_t written = ::write(_file.get(), line.data(), line.size());
  if (written > 0) _size += static_cast<std::size_t>(written);
}

}  // namespace zpk
