#pragma once

#include <string>
#include <string_view>

#include "mount/virtualdisk/VirtualDiskDriver.h"

namespace zpk {

// The services of a class, as the user's drives make them up: one controller, and a block device for each drive
// that a helper keeps and whose media are known. Below a block device hangs the medium of the whole disk, and below
// that one those of its partitions.
RegistryEntries servicesOfClass(std::string_view className, const std::string& runtimeFolder);

}  // namespace zpk
