#pragma once

#include <cstdint>
#include <string>

namespace zpk {

// The text of a size: decimal units, no decimals, halves to the even neighbour. Digits and unit names are the same
// in every language.
//
//   0 → "0 B"   1000 → "1000 B"   1001 → "1 KB"   2500 → "2 KB"   1000000 → "1000 KB"
std::string byteSizeString(std::uint64_t byteCount);

}  // namespace zpk
