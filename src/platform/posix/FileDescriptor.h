#pragma once

#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/FileManager.h"

namespace zpk {

// Owns one open file and closes it; -1 is none. The result of close() is dropped: who wrote and cares has called
// fsync before.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : _number(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      reset();
      _number = std::exchange(other._number, -1);
    }
    return *this;
  }
  ~FileDescriptor() { reset(); }

  int get() const { return _number; }
  // From now on somebody else closes it.
  [[nodiscard]] int release() { return std::exchange(_number, -1); }
  explicit operator bool() const { return _number >= 0; }
  void reset() {
    if (const int number = std::exchange(_number, -1); number >= 0) ::close(number);
  }

 private:
  int _number = -1;
};

// The result of a system call that is made again for as long as a signal interrupts it.
template <class Call>
auto uninterrupted(const Call& call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

// An error number in words.
inline std::string systemReason(int number) {
  return std::generic_category().message(number);
}

// The failure of the last system call, which was about `path`.
inline FileError fileError(std::string_view path) {
  return {std::string(path), systemReason(errno)};
}

}  // namespace zpk
