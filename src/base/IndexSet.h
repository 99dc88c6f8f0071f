#pragma once

#include <cstdint>
#include <optional>
#include <set>

namespace zpk {

// Positions in a list, each once, in rising order: the selected rows of a table.
using IndexSet = std::set<std::uint64_t>;

// The lowest index of the set; nothing (the system's "not found") for an empty one.
inline std::optional<std::uint64_t> firstIndex(const IndexSet& indexes) {
  return indexes.empty() ? std::nullopt : std::optional(*indexes.begin());
}

}  // namespace zpk
