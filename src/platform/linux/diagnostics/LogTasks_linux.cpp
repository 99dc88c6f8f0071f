#include "platform/linux/diagnostics/LogTasks_linux.h"

#include <initializer_list>
#include <string_view>

namespace zpk {
namespace {

LogTask fileCopy(std::string_view path) {
  return {{"type", static_cast<std::uint64_t>(LogTaskKind::copyFile)}, {"path", path}};
}

LogTask toolRun(std::string_view path, std::initializer_list<Value> arguments) {
  return {{"type", static_cast<std::uint64_t>(LogTaskKind::runTool)}, {"path", path}, {"args", Array(arguments)}};
}

}  // namespace

std::vector<LogTask> platformLogTasks() {
  return {
      fileCopy("/etc/os-release"),
      toolRun("/usr/bin/uname", {"-a"}),
      toolRun("/usr/bin/lsblk",
              {"--all", "--paths", "--output",
               "NAME,TYPE,SIZE,LOG-SEC,RO,RM,TRAN,MODEL,PTTYPE,PARTTYPE,PARTUUID,FSTYPE,LABEL,MOUNTPOINTS"}),
      toolRun("/usr/bin/findmnt", {"--list", "--output", "TARGET,SOURCE,FSTYPE,OPTIONS,SIZE,AVAIL"}),
      // Both into the log of their common name, one after the other.
      toolRun("/usr/bin/journalctl", {"--no-pager", "--boot", "--dmesg"}),
      toolRun("/usr/bin/journalctl", {"--no-pager", "--boot", "_COMM=zpk", "_COMM=zpkhelper", "_COMM=zpkctl",
                                      "_COMM=zpkstatusbar", "_COMM=zpkprobe", "_COMM=qrx-helper"}),
      toolRun("/usr/bin/systemctl", {"--user", "--no-pager", "--all", "list-timers"}),
      toolRun("/usr/bin/coredumpctl", {"--no-pager", "info", "zpk", "zpkhelper", "zpkctl", "zpkstatusbar"}),
  };
}

}  // namespace zpk
