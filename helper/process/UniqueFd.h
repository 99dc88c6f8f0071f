#pragma once

#include <unistd.h>

#include <utility>

namespace zpk {

// Owns one file descriptor and closes it. -1 is none.
//
// Closing here drops the result of close(): whoever wrote through the descriptor has called fsync before.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : _fd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : _fd(std::exchange(other._fd, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
      reset();
      _fd = std::exchange(other._fd, -1);
    }
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() { reset(); }

  int get() const { return _fd; }
  explicit operator bool() const { return _fd >= 0; }
  int release() { return std::exchange(_fd, -1); }
  void reset() {
    if (_fd >= 0) ::close(_fd);
    _fd = -1;
  }

 private:
  int _fd = -1;
};

}  // namespace zpk
