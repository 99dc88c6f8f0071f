#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "helper/archive/ByteRange.h"

namespace zpk::test {

// The bits of an archive's files that no content depends on, as docs/archive-format.md lists them: an image's
// reference counts and what nothing in it refers to, bits of its tables without a meaning, what pads header and
// map, and the lock. Found out from the bytes alone, without the code that reads archives.
class UnneededBits {
 public:
  explicit UnneededBits(const std::string& path);

  bool contains(std::uint64_t bit) const;

 private:
  struct Entry {
    std::uint64_t place = 0;  // In the file.
    std::uint64_t value = 0;
    bool isOfFirstTable = false;
  };

  void readImage();
  void readMap();
  void readIndex();
  void readTable(std::uint64_t place);
  bool isSpareIn(const ByteRange& frame, std::uint64_t bit) const;
  void need(std::uint64_t start, std::uint64_t end) { _needed.push_back({start, end}); }
  std::uint64_t numberAt(std::uint64_t place, unsigned size) const;
  static std::uint64_t meaninglessBits(const Entry& entry);

  std::string _bytes;
  bool _isLock = false;
  std::vector<ByteRange> _needed;
  std::vector<ByteRange> _frames;  // Compressed clusters.
  std::vector<Entry> _entries;
};

}  // namespace zpk::test
