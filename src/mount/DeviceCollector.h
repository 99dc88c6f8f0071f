#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Log.h"

namespace zpk {

// Listens to one call of qrxCreateDrive: logs all that it says, and keeps the partitions' devices that it names. A
// whole disk has no volume to open, and a message is no result, whatever it reads like.
class DeviceCollector {
 public:
  explicit DeviceCollector(Log& log) : _log(log) {}

  void note(int level, std::string_view text);
  // In the order in which they were named.
  const std::vector<std::string>& devices() const { return _devices; }

 private:
  Log& _log;
  std::vector<std::string> _devices;
};

}  // namespace zpk
