#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/MountTable.h"

namespace zpk {

// The mounted file systems as this process sees them, from the kernel's table.
class LinuxMountTable final : public MountTable {
 public:
  // `tablePath`: a file in the form of proc_pid_mountinfo(5).
  explicit LinuxMountTable(std::string tablePath = "/proc/self/mountinfo") : _tablePath(std::move(tablePath)) {}

  std::vector<Mount> mounts() const override;

 private:
  std::string _tablePath;
};

// The mounts in a table of that form, one line each:
//
//   36 35 98:0 /root /mnt/My\040Disk rw,noatime master:1 - ext3 /dev/sda1 rw
//
// The mount point is the fifth field; type and device follow the lone hyphen, before which stand any number of
// optional fields. Space, tab, newline and backslash in a field are \ and three octal digits. A line of any other
// form is left out.
std::vector<Mount> mountsInTable(std::string_view table);

}  // namespace zpk
