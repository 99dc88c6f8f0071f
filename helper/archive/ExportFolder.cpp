#include "helper/archive/ExportFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "helper/process/ToolRunner.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {
namespace {

// Looks at nothing: a question to a mount whose server hangs has no answer.
void removePlace(const std::string& path) {
  if (::unlink(path.c_str()) == 0 || errno != EBUSY) return;
  ToolCommand command;
  command.executable = "/usr/bin/fusermount3";
  command.arguments = {"-u", "-z", "-q", "--", path};
  command.limits.wallClock = std::chrono::seconds(5);
  command.access = ToolAccess::Mounts;
  const CancelFlag never;
  (void)runTool(command, never);
  ::unlink(path.c_str());
}

ArchiveError noPlace(const std::string& path) {
  return {ArchiveFault::ToolFailed, "A file that the backup service needs could not be made", path, 0, errno};
}

}  // namespace

ArchiveResult<ExportPlace> ExportPlace::make(const std::string& folder) {
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return noPlace(folder);
  std::string path = folder + "/partition-" + std::string(6, 'X');
  const FileDescriptor file(::mkostemp(path.data(), O_CLOEXEC));
  if (!file) return noPlace(folder);
  return ExportPlace(std::move(path));
}

ExportPlace::~ExportPlace() {
  if (!_path.empty()) removePlace(_path);
}

void clearExportFolder(const std::string& folder) {
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    removePlace(entry->path().string());
  }
}

}  // namespace zpk
