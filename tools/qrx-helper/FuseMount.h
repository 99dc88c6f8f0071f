#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/posix/FileDescriptor.h"

namespace zpk {

// A FUSE file system that is mounted and that nobody serves yet. Whoever holds the two descriptors serves it; once
// no process holds them any more, however that came about, it is unmounted.
struct FuseMount {
  FileDescriptor requests;  // what the kernel asks comes here, and is answered here
  FileDescriptor lease;
  pid_t unmounter = -1;  // a child of this process: waits for the lease's end, unmounts, and ends
};

// Mounts at `mountPoint`, an empty folder of this user's: read-only, nosuid, nodev, noexec, for this user alone.
// In the mount table it is of the type "fuse.ntfs" and its device is `device` ("/dev/disk4s2").
//
// Done by fusermount3, which may mount for a user without rights. Nothing when it cannot: FUSE is not there, or not
// for this user.
std::optional<FuseMount> mountFuse(const std::string& mountPoint, const std::string& device);

}  // namespace zpk
