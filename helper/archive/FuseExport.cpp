#include "helper/archive/FuseExport.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <vector>

namespace zpk {
namespace {

constexpr const char* unmountProgram = "/usr/bin/fusermount3";

ArchiveError noExport(std::string message, const std::string& path, int errorNumber = 0) {
  return {ArchiveFault::ToolFailed, std::move(message), path, 0, errorNumber};
}

// Why nobody here can make a FUSE mount; nothing when that should work.
std::optional<ArchiveError> whyNoFuse() {
  const FileDescriptor fuse(::open("/dev/fuse", O_RDWR | O_CLOEXEC));
  if (!fuse) {
    return noExport(
        "The backup service may use neither loop devices nor FUSE, through which the file-system tools look at a "
        "partition; start it as root, or give its user access to FUSE, and try again",
        "/dev/fuse", errno);
  }
  if (::geteuid() != 0 && ::access(unmountProgram, X_OK) != 0) {
    return noExport("The package fuse3 is missing; install it and try again", unmountProgram, errno);
  }
  return std::nullopt;
}

// A comma ends an option's value unless it stands twice.
std::string optionValue(const std::string& text) {
  std::string result;
  for (const char character : text) result.append(character == ',' ? 2 : 1, character);
  return result;
}

ToolCommand daemonCommand(int handed, const std::vector<std::string>& nodes, const std::string& access,
                          const std::string& place) {
  ToolCommand command;
  command.executable = "/usr/bin/qemu-storage-daemon";
  for (const std::string& node : nodes) command.arguments.insert(command.arguments.end(), {"--blockdev", node});
  command.arguments.insert(
      command.arguments.end(),
      {"--export",
       "type=fuse,id=export,node-name=partition,writable=" + access +
           ",allow-other=off,mountpoint=" + optionValue(place),
       // Options take effect in their order, so the greeting of the monitor says that the export is up.
       "--chardev", "file,id=ready,path=/proc/self/fd/1", "--monitor", "chardev=ready"});
  command.limits.wallClock = std::chrono::seconds(10);
  command.limits.cpuSeconds = std::uint64_t{30} * 60;
  command.limits.memoryBytes = std::uint64_t{2} << 30U;
  command.access = ToolAccess::Mounts;
  command.handed = handed;
  return command;
}

ArchiveError notServed(const ServingTool::NotReady& failure, const std::string& executable) {
  if (failure.end == ToolEnd::Cancelled) return cancelledError();
  if (failure.startError != 0) {
    return noExport(
        "qemu-storage-daemon could not be started; install the package qemu-system-common, or start the backup "
        "service as root, and try again",
        executable, failure.startError);
  }
  const std::string said =
      failure.end == ToolEnd::TimedOut && failure.errors.empty() ? "it took too long" : failure.errors;
  return noExport("The partition could not be shown to the file-system tools (" + said + ")", executable);
}

}  // namespace

ArchiveResult<FuseExport> FuseExport::make(const DiskSource& image, ByteRange range, const std::string& folder,
                                           const CancelFlag& cancel) {
  if (const std::optional<ArchiveError> refusal = whyNoFuse()) return *refusal;
  ArchiveResult<ExportPlace> place = ExportPlace::make(folder);
  if (!place) return place.error();
  const std::vector<std::string> nodes{
      "driver=file,node-name=image,filename=/proc/self/fd/3,read-only=on,auto-read-only=off,locking=off",
      "driver=raw,node-name=partition,file=image,read-only=on,offset=" + std::to_string(range.start) +
          ",size=" + std::to_string(range.size())};
  const ToolCommand command = daemonCommand(image.file().fd.get(), nodes, "off", place->path());
  return start(command, std::nullopt, std::move(*place), cancel);
}

ArchiveResult<FuseExport> FuseExport::makeForView(BlockView& view, const std::string& folder,
                                                  const CancelFlag& cancel) {
  if (const std::optional<ArchiveError> refusal = whyNoFuse()) return *refusal;
  ArchiveResult<ExportPlace> place = ExportPlace::make(folder);
  if (!place) return place.error();
  Expected<NbdServer, int> server = NbdServer::start(view);
  if (!server) return noExport("The partition could not be shown to the file-system tools", {}, server.error());
  ToolCommand command = daemonCommand(
      server->clientEnd(), {"driver=nbd,node-name=partition,server.type=fd,server.str=3"}, "on", place->path());
  // For as long as a large volume is resized.
  command.limits.cpuSeconds = RLIM_INFINITY;
  return start(command, std::move(*server), std::move(*place), cancel);
}

ArchiveResult<FuseExport> FuseExport::start(const ToolCommand& command, std::optional<NbdServer> server,
                                            ExportPlace place, const CancelFlag& cancel) {
  auto daemon = ServingTool::start(command, cancel);
  if (!daemon) return notServed(daemon.error(), command.executable);
  if (server) server->closeClientEnd();
  return FuseExport(std::move(server), std::move(place), std::move(*daemon));
}

}  // namespace zpk
