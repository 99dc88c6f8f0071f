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
  std::string_view advice;  // what it means and what to do, in one or two plain sentences
};

// translated: the message and the advice of each row, and what any other code reads as.
inline constexpr std::array kResultCodes{
    ResultCodeRow{ResultCode::success, "Success", "There is nothing to do."},
    ResultCodeRow{
        ResultCode::diskNotFound, "Disk not found",
        "The disk is not connected any more, or its Windows side is gone. Connect it and choose it again."},
    ResultCodeRow{ResultCode::noArchiveTargetDirectory, "No archive target directory",
                  "The folder for the backups is not there or cannot be written to. Connect its disk, or choose "
                  "another location."},
    ResultCodeRow{ResultCode::sourceDiskNotSet, "Source disk not set", "Choose the Windows disk to protect first."},
    ResultCodeRow{ResultCode::archivePathNotSet, "Archive path not set", "Choose where to keep the backups first."},
    ResultCodeRow{
        ResultCode::badTargetDisk, "Bad target disk",
        "This disk cannot take the backup: it is too small, or it is divided in a way that leaves no place "
        "for Windows. Choose another disk."},
    ResultCodeRow{ResultCode::serviceIsBusy, "Service is busy",
                  "Something else is still being done. Wait until it is finished, then try again."},
    ResultCodeRow{ResultCode::badIndex, "Bad index",
                  "The choice is no longer possible: it is out of range, or the backup points have changed since. "
                  "Look at the list and choose again."},
};
inline constexpr std::string_view kNoResultDescription = "No description";
inline constexpr std::string_view kNoResultAdvice =
    "The helper refused for a reason that this version of the program does not know. Its log may tell more.";
// end of translated

// The code in a command's result. A missing result (the helper was not reached) reads as 0, success: the link says
// by itself when it is down, and no message is due twice.
std::uint32_t resultCodeOf(const Value& result);

// The code in words, in the user's language.
std::string resultCodeMessage(std::uint32_t code, const Localization& localization);

// What the code means to the user and what to do about it, in the user's language. Never empty.
std::string resultCodeAdvice(std::uint32_t code, const Localization& localization);

}  // namespace zpk
