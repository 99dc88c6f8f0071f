#pragma once

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdint>
#include <fstream>
#include <string>

namespace zpk::test {

// The most memory that this process has held since the object was made.
class PeakMemory {
 public:
  PeakMemory() {
    ::malloc_trim(0);
    // The kernel's own mark, set back to what is held now.
    std::ofstream("/proc/self/clear_refs") << "5" << std::flush;
    _before = held("VmRSS:");
    EXPECT_GT(_before, 0U);
  }
  std::uint64_t bytes() const { return held("VmHWM:"); }
  // Beyond what was there before.
  std::uint64_t added() const { return bytes() - _before; }

 private:
  static std::uint64_t held(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
      std::uint64_t kilobytes = 0;
      if (word == field && status >> kilobytes) return kilobytes * 1024;
    }
    return 0;
  }
  std::uint64_t _before = 0;
};

}  // namespace zpk::test
