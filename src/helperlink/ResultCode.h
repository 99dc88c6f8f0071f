#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Localization.h"
#include "base/Value.h"

namespace zpk {

// What the helper answers to a command, as a number. Codes that a newer helper may add are read as they are and
// have no description; that is why functions here take and give the number.
enum class ResultCode : std::uint32_t {
  success = 0,
  diskNotFound = 1,
  noArchiveTargetDirectory = 2,
  sourceDiskNotSet = 3,
  archivePathNotSet = 4,
  badTargetDisk = 5,
  serviceIsBusy = 6,
  badIndex = 7,
};

struct ResultCodeRow {
  ResultCode code;
  std::string_view message;
};

inline constexpr std::array kResultCodes{
    ResultCodeRow{ResultCode::success, "Success"},
    ResultCodeRow{ResultCode::diskNotFound, "Disk not found"},
    ResultCodeRow{ResultCode::noArchiveTargetDirectory, "No archive target directory"},
    ResultCodeRow{ResultCode::sourceDiskNotSet, "Source disk not set"},
    ResultCodeRow{ResultCode::archivePathNotSet, "Archive path not set"},
    ResultCodeRow{ResultCode::badTargetDisk, "Bad target disk"},
    ResultCodeRow{ResultCode::serviceIsBusy, "Service is busy"},
    ResultCodeRow{ResultCode::badIndex, "Bad index"},
};
inline constexpr std::string_view kNoResultDescription = "No description";

// The code in a command's result. A missing result (the helper was not reached) reads as 0, success: the link says
// by itself when it is down, and no message is due twice.
std::uint32_t resultCodeOf(const Value& result);

// The code in words, in the user's language.
std::string resultCodeMessage(std::uint32_t code, const Localization& localization);

}  // namespace zpk
