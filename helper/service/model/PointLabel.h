#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace zpk {

// The longest label of a backup point, in characters.
inline constexpr std::size_t kLongestLabel = 256;

// Why the text cannot be a label, as a sentence for a person; nothing when it can. A label is one line: UTF-8
// without control characters or line separators, at most `kLongestLabel` characters. Empty is fine.
std::optional<std::string> whyNoLabel(const std::string& text);

}  // namespace zpk
