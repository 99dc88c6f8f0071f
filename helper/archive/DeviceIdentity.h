#pragma once

#include <cstdint>
#include <string>

namespace zpk {

// Which disk it is, as a text: another text means another disk, also when it has the same path, size and content.
//
//   an image file  "file 2049:131"           its file system and its inode
//   a device       "device 8:16 42 Z1D5A7"   its number, the kernel's count of disks that it ever attached, and the
//                                            serial number; what the system does not tell is left out
//
// Good until the machine is started anew, and made to be compared with what is found a little later: by the listing
// of disks for what it found, and by whoever then opens the disk for what is open.
std::string identityOfImage(std::uint64_t fileSystem, std::uint64_t inode);
// Of a device that is listed in that folder of /sys.
std::string identityOfDevice(const std::string& sysFolder);
// Of what is open. Empty when that is neither a file nor a block device.
std::string identityOfOpen(int descriptor, const std::string& sys = "/sys");

// The serial number of the device that is listed in that folder of /sys; empty when it tells none.
std::string serialOfDevice(const std::string& sysFolder);

}  // namespace zpk
