#pragma once

#include <cstddef>
#include <deque>
#include <string>

#include "base/Value.h"

namespace zpk {

// The log of the running operation, bounded so that a status that carries it always fits on the link: when it grows
// beyond `limit` bytes, the oldest lines go, and one line says so.
class OperationLog {
 public:
  static constexpr std::size_t kDefaultLimit = std::size_t{8} << 20;
  static constexpr std::size_t kLongestLine = 4096;  // Bytes; the rest of a line is cut off.

  explicit OperationLog(std::size_t limit = kDefaultLimit) : _limit(limit) {}

  void append(std::string line);
  // The lines, oldest first, as the value that a status carries. The same one until the next append.
  const Value& lines() const;

 private:
  std::size_t _limit;
  std::size_t _size = 0;
  bool _shortened = false;
  std::deque<std::string> _lines;
  mutable Value _shared;
};

}  // namespace zpk
