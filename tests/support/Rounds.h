#pragma once

#include <cstddef>
#include <cstdlib>

namespace zpk::test {

// How often a test repeats a fault: `usual` times, or as often as the environment variable says, by which the
// preset `nightly` asks for more.
inline std::size_t rounds(const char* variable, std::size_t usual) {
  const char* wanted = std::getenv(variable);
  return wanted == nullptr ? usual : static_cast<std::size_t>(std::strtoul(wanted, nullptr, 10));
}

}  // namespace zpk::test
