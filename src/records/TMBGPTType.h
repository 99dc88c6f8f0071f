#pragma once

#include <cstdint>

namespace zpk {

// The GPT partition types that the system tells apart. Any other is Unknown.
enum class TMBGPTType : std::uint64_t {
  Unknown = 0,
  EFISystem = 1,
  AppleHFSPlus = 2,
  // Holds the macOS recovery system.
  AppleBoot = 3,
  AppleCoreStorage = 4,
  AppleRAID = 5,
  AppleRAIDOffline = 6,
  MicrosoftBasicData = 7,
  MicrosoftReserved = 8,
  WindowsRecovery = 9,
};

}  // namespace zpk
