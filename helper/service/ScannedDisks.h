#pragma once

#include "helper/disks/DiskScanner.h"
#include "helper/service/model/DiskCatalog.h"

namespace zpk {

// The disks that the scanner finds. `stop` may be called from any thread: a scan under way ends soon, with less.
class ScannedDisks final : public DiskCatalog {
 public:
  ScannedDisks(DiskScannerOptions options, Log& log) : _scanner(std::move(options), log) {}

  Disks scan() override { return _scanner.scan(_cancel); }
  std::string deviceOf(const ZPKDisk& disk) override { return _scanner.deviceOf(disk); }
  void stop() { _cancel.request(); }

 private:
  DiskScanner _scanner;
  CancelFlag _cancel;
};

}  // namespace zpk
