#pragma once

#include <string>

#include "helper/archive/DiskLayout.h"
#include "helper/archive/DiskSource.h"
#include "helper/archive/ExportFolder.h"
#include "helper/process/ServingTool.h"

namespace zpk {

// A stretch of an image file as a read-only file of its own, for a user who may not set up loop devices.
//
// qemu-storage-daemon serves it through FUSE: a regular file in a folder that only this user can enter has the
// stretch's content while this object lives. The daemon gets the image as an open descriptor, takes it for raw
// bytes without looking at them, and ends with the helper.
class FuseExport {
 public:
  // `folder` as ExportPlace has it.
  static ArchiveResult<FuseExport> make(const DiskSource& image, ByteRange range, const std::string& folder,
                                        const CancelFlag& cancel);

  const std::string& path() const { return _place.path(); }
  // Whether the daemon is still there. Once it is not, every read of the file fails.
  bool isServing() const { return _daemon.isRunning(); }
  pid_t daemon() const { return _daemon.pid(); }

 private:
  FuseExport(ExportPlace place, ServingTool daemon) : _place(std::move(place)), _daemon(std::move(daemon)) {}

  ExportPlace _place;
  ServingTool _daemon;  // Goes first.
};

}  // namespace zpk
