#pragma once

#include <string>

#include "platform/linux/virtualdisk/DriveFolder.h"

namespace zpk {

// What is left of drives that no helper keeps. Any thread; blocks, for a few milliseconds where a volume is still
// mounted, for seconds where the system does not answer.

// Unmounts the drive's volumes, whether anybody uses them or not, and removes their mount points.
void removeVolumes(const DriveFolder& drive);
// Takes everything away: the volumes, the files and the folder.
void removeDrive(const DriveFolder& drive);

// Whether the drive had a helper and has lost it. One that is about to get its helper is not, and one that could
// not be attached is only when whoever asked for it has not looked for minutes.
bool isAbandoned(const DriveFolder& drive);
void removeAbandonedDrives(const std::string& drives);

}  // namespace zpk
