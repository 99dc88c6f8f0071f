#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include "helper/archive/PointsWorld.h"
#include "mount/AttachedDrives.h"
#include "mount/virtualdisk/QrxCreateDrive.h"
#include "platform/linux/MountTable_linux.h"
#include "platform/linux/virtualdisk/LinuxDriveControl.h"
#include "platform/linux/virtualdisk/LinuxVirtualDiskDriver.h"
#include "platform/posix/PollRunLoop.h"
#include "support/ImmediateQueue.h"

namespace zpk::test {

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

inline bool within(std::chrono::seconds patience, const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

// Every plain file below a folder. The folder of lost clusters and the like are the driver's own.
inline Files filesIn(const std::string& root) {
  Files files;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (entry.is_regular_file()) files[fs::relative(entry.path(), root).string()] = readAll(entry.path().string());
  }
  return files;
}

// An archive with one full point, and a runtime folder that the helper of the build looks for drives in.
class QrxHelper : public PointsWorld {
 protected:
  QrxHelper() {
    fs::create_directory(runtime);
    fs::permissions(runtime, fs::perms::owner_all);
    ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
  }
  ~QrxHelper() override {
    for (const pid_t helper : helpers) {
      ::kill(helper, SIGTERM);
      ::waitpid(helper, nullptr, 0);
    }
    EXPECT_TRUE(within(std::chrono::seconds(20), [this] { return mounts().empty(); }));
  }

  std::int32_t attach(const std::string& image) {
    QrxDriveRequest request{};
    request.flags = 1;
    setImagePath(request, image);
    const QrxLogCallback note = [this](int level, const char* text) {
      (level == kQrxLevelResult ? devices : messages) += text;
    };
    const auto result = qrxCreateDrive(driver, request, note, &why, nullptr);
    const auto said = messages.rfind("pid = ");
    if (said != std::string::npos) helpers.push_back(std::stoi(messages.substr(said + 6)));
    return result;
  }
  std::vector<Mount> mounts() const {
    std::vector<Mount> ours;
    for (const Mount& mount : LinuxMountTable().mounts()) {
      if (mount.mountPoint.starts_with(runtime)) ours.push_back(mount);
    }
    return ours;
  }
  std::string drivesPath() const { return runtime + "/zpk/drives"; }
  bool noDriveIsLeft() const { return fs::is_empty(drivesPath()); }

  const std::string runtime = folder / "run";
  PollRunLoop loop;
  ImmediateQueue queue;
  LinuxVirtualDiskDriver driver{{loop, loop, ZPK_QRX_HELPER_FOLDER, runtime}};
  QrxErrorText why{};
  std::string messages;
  std::string devices;
  std::vector<pid_t> helpers;
};

// The processes that an image is open in.
inline std::vector<pid_t> usersOf(const std::string& path) {
  std::vector<pid_t> users;
  std::error_code error;
  for (const auto& process : fs::directory_iterator("/proc")) {
    const std::string name = process.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    for (fs::directory_iterator file(process.path() / "fd", error), end; !error && file != end;
         file.increment(error)) {
      if (fs::read_symlink(file->path(), error) != path) continue;
      users.push_back(std::stoi(name));
      break;
    }
  }
  return users;
}

inline std::string statusOf(pid_t process, const std::string& field) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field + ":\t")) return line.substr(field.size() + 2);
  }
  return "no " + field;
}

inline std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const auto& process : fs::directory_iterator("/proc")) {
    const std::string name = process.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    if (statusOf(std::stoi(name), "PPid") == std::to_string(parent)) children.push_back(std::stoi(name));
  }
  return children;
}

// The command lines of all processes that have the text in one of their words.
inline std::vector<std::string> processesNaming(const std::string& text) {
  std::vector<std::string> commands;
  for (const auto& process : fs::directory_iterator("/proc")) {
    std::ifstream file(process.path() / "cmdline");
    std::string command((std::istreambuf_iterator<char>(file)), {});
    if (command.find(text) != std::string::npos) commands.push_back(std::move(command));
  }
  return commands;
}

}  // namespace zpk::test
