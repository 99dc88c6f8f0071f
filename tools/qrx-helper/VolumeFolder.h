#pragma once

#include <string>

namespace zpk {

// A new empty folder in `volumes` for the mount of a volume: named after it as far as a folder can be, else after
// its device ("disk4s2"), which also tells two volumes of one name apart. Its path; empty, with errno set, when
// none could be made.
std::string makeVolumeFolder(const std::string& volumes, const std::string& label, const std::string& deviceName);

}  // namespace zpk
