#include "tools/qrx-helper/DriveKeeper.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include "platform/linux/virtualdisk/DriveRemains.h"
#include "tools/qrx-helper/StoredImage.h"
#include "tools/qrx-helper/UnshownVolume.h"
#include "tools/qrx-helper/VolumeFolder.h"

namespace zpk {
namespace {

// Lower ones look too much like a machine's own disks.
constexpr int kFirstNumber = 4;
// The client waits for a minute, and then knows nothing of what became of the drive.
constexpr std::chrono::seconds kLongestBringUp{50};
// How long the volumes' processes may take to end, and then their mounts to go.
constexpr timespec kPatience{5, 0};
constexpr const char* kNoFiles = "The backup point holds no files of Windows";
constexpr const char* kNoMount = "The volume cannot be mounted; FUSE (the package fuse3) is needed for it";

std::string diskName(int number) {
  return "disk" + std::to_string(number);
}

// For a partition that is in the backup without being shown, what there is to say of it.
std::optional<std::string> whyNotShown(StoredImage& image, const StoredPartition& partition) {
  constexpr std::uint64_t kReservedType = 8;  // Microsoft's, which holds no files.
  if (partition.content != PartitionContent::Whole || partition.type == kReservedType) return std::nullopt;
  std::array<std::byte, 512> bootSector{};
  if (!image.partition(partition).read(0, bootSector)) return "It cannot be read";
  const auto name = fileSystemName(bootSector);
  if (!name) return std::nullopt;
  return "Its file system (" + *name + ") cannot be shown; the backup holds it all the same";
}

std::string inLines(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += (all.empty() ? "" : "\n") + text;
  return all;
}

sigset_t endingSignals() {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGCHLD}) ::sigaddset(&set, number);
  return set;
}

}  // namespace

DriveKeeper::~DriveKeeper() {
  if (_lock) takeDown();
}

bool DriveKeeper::take() {
  FileDescriptor request(::open(_drive.filePath(DriveFolder::kRequest).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!request || ::flock(request.get(), LOCK_EX | LOCK_NB) != 0) return false;
  _lock = std::move(request);
  return _drive.saveKeeper(::getpid());
}

bool DriveKeeper::run() {
  const sigset_t signals = endingSignals();
  ::sigprocmask(SIG_BLOCK, &signals, nullptr);
  if (!take()) return false;
  removeAbandonedDrives(_drives);
  const auto request = _drive.request();
  if (!request || !imagePathOf(*request).starts_with('/')) return fail(EINVAL, "The request is damaged");
  if (!bringUp(std::string(imagePathOf(*request)))) return false;
  waitForVolumes();
  return true;
}

bool DriveKeeper::complete(int result, const std::string& message) {
  DriveFolder::Completion completion{result, {}};
  const std::string kept = message.substr(0, completion.reply.errorMessage.size() - 1);
  std::copy(kept.begin(), kept.end(), completion.reply.errorMessage.begin());
  return _drive.saveCompletion(completion);
}

bool DriveKeeper::fail(int result, const std::string& message) {
  (void)complete(result, message);
  return false;
}

bool DriveKeeper::bringUp(const std::string& imagePath) {
  ArchiveResult<StoredImage> image = StoredImage::open(imagePath);
  if (!image) return fail(EIO, image.error().text());
  const std::string volumes = _drive.filePath(DriveFolder::kVolumes);
  if (::mkdir(volumes.c_str(), 0700) != 0)
    return fail(errno, "A folder for the volumes cannot be made: " + systemReason(errno));

  const std::string disk = diskName(reserveNumber());
  std::vector<std::string> media{disk};
  std::vector<std::string> missing;
  const auto deadline = std::chrono::steady_clock::now() + kLongestBringUp;
  for (const StoredPartition& partition : usedPartitions(image->disk())) {
    media.push_back(disk + "s" + std::to_string(partition.number));
    const auto why = hasFiles(partition) ? addVolume(imagePath, partition, media.back(), deadline)
                                         : whyNotShown(*image, partition);
    if (why) missing.push_back("Partition " + std::to_string(partition.number) + ": " + *why);
  }
  if (_volumes.empty()) return fail(EIO, missing.empty() ? kNoFiles : inLines(missing));
  _drive.saveMedia(media);
  return complete(0, inLines(missing));
}

std::optional<std::string> DriveKeeper::addVolume(const std::string& imagePath, const StoredPartition& partition,
                                                  const std::string& medium, VolumeProcess::Deadline deadline) {
  auto volume = VolumeProcess::start(imagePath, partition, _log);
  if (!volume) return systemReason(errno);
  const auto label = volume->awaitLabel(deadline);
  std::optional<std::string> error;
  if (label) {
    error = mountVolume(*volume, *label, medium, deadline);
  } else {
    error = label.error().why;
  }
  // One that only takes too long is still there.
  if (error) ::kill(volume->pid(), SIGKILL);
  if (!error) _volumes.push_back(std::move(*volume));
  return error;
}

std::optional<std::string> DriveKeeper::mountVolume(VolumeProcess& volume, const std::string& label,
                                                    const std::string& medium, VolumeProcess::Deadline deadline) {
  const std::string mountPoint = makeVolumeFolder(_drive.filePath(DriveFolder::kVolumes), label, medium);
  if (mountPoint.empty()) return "A folder for the volume cannot be made: " + systemReason(errno);
  auto mount = mountFuse(mountPoint, "/dev/" + medium);
  if (mount) _unmounters.insert(mount->unmounter);
  if (mount && volume.serve(std::move(*mount), mountPoint, deadline)) return std::nullopt;
  ::rmdir(mountPoint.c_str());
  return kNoMount;
}

// The lowest one that no other drive has. The media of this one say it from here on.
int DriveKeeper::reserveNumber() {
  const FileDescriptor folder(::open(_drives.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ::flock(folder.get(), LOCK_EX);
  std::set<std::string> taken;
  for (const DriveFolder& other : allDrives(_drives)) {
    const auto names = other.media();
    if (!names.empty()) taken.insert(names.front());
  }
  int number = kFirstNumber;
  while (taken.contains(diskName(number))) ++number;
  _drive.saveMedia({diskName(number)});
  return number;
}

void DriveKeeper::waitForVolumes() {
  const sigset_t set = endingSignals();
  const FileDescriptor signals(::signalfd(-1, &set, SFD_CLOEXEC));
  while (!_volumes.empty()) {
    int status = 0;
    pid_t ended = 0;
    while ((ended = ::waitpid(-1, &status, WNOHANG)) > 0) reap(ended, status);
    if (_volumes.empty() || _lost) return;
    if (!waitForSignal(signals)) return;
  }
}

// Meanwhile the volumes' processes may have something to say.
bool DriveKeeper::waitForSignal(const FileDescriptor& signals) {
  while (signals) {
    std::vector<pollfd> heard{{signals.get(), POLLIN, 0}};
    for (const VolumeProcess& volume : _volumes) heard.push_back({volume.channel(), POLLIN, 0});
    if (uninterrupted([&] { return ::poll(heard.data(), heard.size(), -1); }) < 0) return false;
    for (std::size_t i = 0; i < _volumes.size(); ++i) {
      if (heard[i + 1].revents != 0) _volumes[i].listen();
    }
    if (heard.front().revents == 0) continue;
    signalfd_siginfo signal = {};
    const ssize_t got = uninterrupted([&] { return ::read(signals.get(), &signal, sizeof signal); });
    return got == static_cast<ssize_t>(sizeof signal) && signal.ssi_signo == SIGCHLD;
  }
  return false;
}

// Of a volume that never was there nobody misses the process.
void DriveKeeper::reap(pid_t ended, int status) {
  _unmounters.erase(ended);
  const bool wasServed =
      std::erase_if(_volumes, [ended](const VolumeProcess& volume) { return volume.pid() == ended; }) != 0;
  if (wasServed && (!WIFEXITED(status) || WEXITSTATUS(status) != EXIT_SUCCESS)) _lost = true;
}

// Each volume is asked to end; one that does not within the time is killed. Its mount goes with it.
void DriveKeeper::endVolumes() {
  for (const VolumeProcess& volume : _volumes) ::kill(volume.pid(), SIGTERM);
  const sigset_t signals = endingSignals();
  while (!_volumes.empty() || !_unmounters.empty()) {
    int status = 0;
    const pid_t ended = ::waitpid(-1, &status, WNOHANG);
    if (ended < 0) return;
    if (ended > 0) {
      _unmounters.erase(ended);
      std::erase_if(_volumes, [ended](const VolumeProcess& volume) { return volume.pid() == ended; });
    } else if (::sigtimedwait(&signals, nullptr, &kPatience) < 0 && errno == EAGAIN) {
      if (_volumes.empty()) return;
      for (const VolumeProcess& volume : _volumes) ::kill(volume.pid(), SIGKILL);
      _volumes.clear();
    }
  }
}

void DriveKeeper::takeDown() {
  endVolumes();
  if (_lost) return removeVolumes(_drive);
  // A drive that failed is gone at once; its folder stays until the completion has been read.
  const auto completion = _drive.completion();
  if (!completion || completion->result == 0) removeDrive(_drive);
}

}  // namespace zpk
