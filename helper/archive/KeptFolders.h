#pragma once

#include <set>
#include <string>

#include "helper/archive/Archive.h"

namespace zpk {

// The folders of points that were given up whose images the archive's points still build on. An image that cannot
// be read may build on any of them.
std::set<std::string> keptFoldersInUse(const Archive& archive);

}  // namespace zpk
