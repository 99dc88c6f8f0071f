#include "app/presentation/ByteSizeString.h"

#include <array>
#include <cmath>
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
  // Halves go to the even neighbour in the rounding mode that programs start with.
  const auto rounded = static_cast<std::uint64_t>(std::nearbyint(value));
  return std::to_string(rounded).append(" ").append(kUnits[unit]);
}

}  // namespace zpk
