#pragma once

#include <memory>
#include <string>
#include <vector>

namespace zpk {

class ZPKDisk;

using Disks = std::vector<std::shared_ptr<const ZPKDisk>>;

// Where disks are looked for.
class DiskCatalog {
 public:
  virtual ~DiskCatalog() = default;
  // Every disk of interest there is now, in an order that stays. Takes its time: called on the worker, one call at
  // a time.
  virtual Disks scan() = 0;
  // What the path of a disk that a scan gave led to, for the engine to see that it is still that one when it opens
  // the disk. On the worker as well.
  virtual std::string deviceOf(const ZPKDisk& disk) = 0;
};

}  // namespace zpk
