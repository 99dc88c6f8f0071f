#include "app/presentation/ByteSizeString.h"

#include <array>
#include <charconv>
#include <string_view>

namespace zpk {

namespace {

constexpr std::array<std::string_view, 6> kUnits = {"B", "KB", "MB", "GB", "TB", "PB"};

}  // namespace

std::string byteSizeString(std::uint64_t byteCount) {
  auto value = static_cast<double>(byteCount);
  std::size_t unit = 0;
  // Strictly greater: exactly 1000 stays in the smaller unit.
  while (value > 1000.0 && unit + 1 < kUnits.size()) {
    value /= 1000.0;
    ++unit;
  }
  // Not printf, which would follow the process's locale. At most "18447", the largest count in petabytes.
  std::array<char, 16> digits{};
  const auto written =
      std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 0);
  return std::string(digits.data(), written.ptr).append(" ").append(kUnits[unit]);
}

}  // namespace zpk
