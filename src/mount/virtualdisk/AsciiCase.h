#pragma once

#include <algorithm>
#include <string_view>

namespace zpk {

// Whether the texts differ in nothing but the case of the letters A to Z, whatever the locale.
inline bool equalWithoutCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace zpk
