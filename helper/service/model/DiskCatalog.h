#pragma once

#include <memory>
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
};

}  // namespace zpk
