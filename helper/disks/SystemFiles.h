#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zpk {

// Readers of the small files in which the kernel tells about devices.

struct DeviceNumber {
  unsigned major = 0;
  unsigned minor = 0;

  std::string text() const { return std::to_string(major) + ":" + std::to_string(minor); }
  friend auto operator<=>(const DeviceNumber&, const DeviceNumber&) = default;
};

DeviceNumber deviceNumberOf(std::uint64_t raw);
// "8:1" as the kernel writes it.
std::optional<DeviceNumber> deviceNumberOf(std::string_view text);

// The file's text without blanks and line ends around it; empty when it cannot be read.
std::string systemText(const std::string& path);
// The unit of sizes and positions in /sys, in bytes, whatever the disk's own is.
inline constexpr std::uint64_t kernelSector = 512;
// The number in the file; 0 when there is none.
std::uint64_t systemNumber(const std::string& path);
bool exists(const std::string& path);
// The names in a folder, sorted, without "." and ".."; none when it cannot be read.
std::vector<std::string> namesIn(const std::string& folder);

}  // namespace zpk
