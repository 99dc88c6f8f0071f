#pragma once

#include <optional>
#include <string>

#include "helper/archive/DiskLayout.h"
#include "helper/archive/DiskSource.h"
#include "helper/archive/ExportFolder.h"
#include "helper/archive/NbdServer.h"
#include "helper/process/ServingTool.h"

namespace zpk {

// A file of its own for what is none: a stretch of an image file, for a user who may not set up loop devices, or a
// view that exists in this process alone.
//
// qemu-storage-daemon serves it through FUSE: a regular file in a folder that only this user can enter has the
// content while this object lives. The daemon gets the image, or a connection to the view, as an open descriptor,
// takes it for raw bytes without looking at them, and ends with the helper.
class FuseExport {
 public:
  // `folder` as ExportPlace has it.
  static ArchiveResult<FuseExport> make(const DiskSource& image, ByteRange range, const std::string& folder,
                                        const CancelFlag& cancel);
  // What is written to the file goes to the view, which outlives this object.
  static ArchiveResult<FuseExport> makeForView(BlockView& view, const std::string& folder,
                                               const CancelFlag& cancel);

  const std::string& path() const { return _place.path(); }
  // Whether the daemon is still there. Once it is not, every read of the file fails.
  bool isServing() const { return _daemon.isRunning(); }
  pid_t daemon() const { return _daemon.pid(); }

 private:
  FuseExport(std::optional<NbdServer> server, ExportPlace place, ServingTool daemon)
      : _server(std::move(server)), _place(std::move(place)), _daemon(std::move(daemon)) {}

  static ArchiveResult<FuseExport> start(const ToolCommand& command, std::optional<NbdServer> server,
                                         ExportPlace place, const CancelFlag& cancel);

  std::optional<NbdServer> _server;
  ExportPlace _place;
  ServingTool _daemon;  // Goes first.
};

}  // namespace zpk
