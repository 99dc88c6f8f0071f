#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zpk {

// The device of a partition out of a line that may name one: "/dev/disk4s2\n" gives "/dev/disk4s2". Nothing for any
// other line, also for that of a whole disk ("/dev/disk4\n").
//
// The line has to begin with "/dev/disk", a decimal number, "s" and another one, where a number may have blanks and
// a sign before it; what follows belongs to the device. Line breaks are taken off both ends.
std::optional<std::string> sliceDevice(std::string_view line);

}  // namespace zpk
