#pragma once

#include <string>
#include <utility>
#include <vector>

namespace zpk {

class ZPKDisk;

// What a person who is to allow that a disk is overwritten is told about it, by the names that the messages in
// packaging/polkit/com.tarnwick.zpk.policy use:
//
//   disk    "Flash Disk 1000 (1 TB, serial A1B2C3, /dev/sda)"
//   model, size (bytes), serial, path: the same one by one, for rules
//
// `sys` is where the system tells about its devices.
std::vector<std::pair<std::string, std::string>> diskDetails(const ZPKDisk& disk, const std::string& sys = "/sys");

}  // namespace zpk
