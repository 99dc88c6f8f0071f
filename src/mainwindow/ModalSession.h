#pragma once

#include <cstdint>

namespace zpk {

// Numbers of the sheets over the main window.
namespace modalsession {

inline constexpr std::int32_t kNone = 0;
inline constexpr std::int32_t kUpdateInfo = 1;
inline constexpr std::int32_t kRestoreTarget = 2;
inline constexpr std::int32_t kSource = 3;
inline constexpr std::int32_t kError = 4;
inline constexpr std::int32_t kArchiveLocation = 5;
inline constexpr std::int32_t kArcNotFromSource = 6;
inline constexpr std::int32_t kMergeConfirmation = 7;
inline constexpr std::int32_t kIncrementLabel = 8;

}  // namespace modalsession
}  // namespace zpk
