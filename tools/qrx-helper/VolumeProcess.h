#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "base/Expected.h"
#include "helper/archive/PointIndex.h"
#include "platform/posix/FileDescriptor.h"
#include "tools/qrx-helper/FuseMount.h"

namespace zpk {

// A process that reads the file system of one volume and serves its files. It opens the image, gives up every right
// beyond that (Confinement.h), and only then looks at what is in it; the mount is made by the process that started
// it, and handed over. A volume whose bytes bring its reader down takes nothing else with it.
//
//   reader   its name, when the volume can be read; else why not
//   keeper   the mount: its two descriptors, and where it is
//   reader   ready, when the kernel's first request is answered
//   reader   at any time, what it finds damaged: each place once, and of all places the first ones
//
// It ends when the volume is unmounted, when it is asked to (SIGTERM), and with the process that started it.
class VolumeProcess {
 public:
  // In words.
  struct Unreadable {
    std::string why;
  };
  // By when something has to have happened.
  using Deadline = std::chrono::steady_clock::time_point;

  // Told a line for the log about damage, in printable ASCII and no longer than `kLongestLine`; not more often than
  // `kMostDamage` times a volume, whatever its reader says.
  using DamageLog = std::function<void(const std::string& line)>;
  static constexpr std::size_t kMostDamage = 64;
  static constexpr std::size_t kLongestLine = 1024;

  // Nothing when there can be no process.
  static std::optional<VolumeProcess> start(const std::string& imagePath, const StoredPartition& partition,
                                            DamageLog log);

  // Of a process that is there already, with the keeper's end of its channel.
  VolumeProcess(pid_t pid, FileDescriptor channel, DamageLog log)
      : _pid(pid), _channel(std::move(channel)), _log(std::move(log)) {}

  pid_t pid() const { return _pid; }
  // Blocks until the file system is known; its volume's name, which may be empty and is of any bytes.
  Expected<std::string, Unreadable> awaitLabel(Deadline deadline);
  // Hands the mount over and blocks until it can be looked at. Whether it can.
  bool serve(FuseMount mount, const std::string& mountPoint, Deadline deadline);

  // To wait for something to `listen` to; negative once the process has hung up.
  int channel() const { return _channel.get(); }
  // Takes what it says while the volume is served. Called when there is something, so that it does not block.
  void listen();

 private:
  // What the process says next but for damage; empty when that is nothing by the deadline, or when it says more
  // damage than a sound one would.
  std::string awaitWord(Deadline deadline);
  void note(const std::string& damage);

  pid_t _pid;
  FileDescriptor _channel;
  DamageLog _log;
  std::size_t _damage = 0;  // How often something was said.
};

}  // namespace zpk
