#include "tools/qrx-helper/VolumeProcess.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>

#include "tools/qrx-helper/StoredImage.h"
#include "tools/qrx-helper/VolumeServer.h"

namespace zpk {
namespace {

// What the reader of a file system may take, which is more than any honest one makes it take.
constexpr rlim_t kMostMemory = rlim_t{4} << 30;
constexpr std::size_t kLongestName = 64;
constexpr char kMounted = '+';

void limitSelf() {
  const rlimit memory{kMostMemory, kMostMemory};
  const rlimit none{0, 0};
  ::setrlimit(RLIMIT_AS, &memory);
  ::setrlimit(RLIMIT_CORE, &none);
}

// What the keeper has open is not ours; above all its lock, which says that it lives.
void closeAllBut(int descriptor) {
  const auto kept = static_cast<unsigned>(descriptor);
  if (kept > 3) ::close_range(3, kept - 1, 0);
  ::close_range(std::max(kept + 1, 3U), ~0U, 0);
}

void allowSignals() {
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

// As a volume's name can be that of a folder: in one line, no hidden one, and not too long.
std::string folderName(const std::string& label, const std::string& device) {
  std::string name;
  for (const char c : label) name += c == '/' || (c >= 0 && c < ' ') || c == 0x7F ? '_' : c;
  if (name.size() > kLongestName) name.resize(kLongestName);
  if (name.starts_with('.')) name.front() = '_';
  return name.empty() ? device : name;
}

// Empty when none could be made.
std::string makeMountPoint(const VolumePlace& place, const std::string& label) {
  const std::string device = place.device.substr(place.device.rfind('/') + 1);
  const std::string name = folderName(label, device);
  std::string path = place.volumesFolder + "/" + name;
  if (::mkdir(path.c_str(), 0700) == 0) return path;
  // Two volumes of one name are told apart by their devices.
  path += " (" + device + ")";
  return ::mkdir(path.c_str(), 0700) == 0 ? path : std::string();
}

std::string serve(const VolumePlace& place, const FileDescriptor& report) {
  ArchiveResult<StoredImage> image = StoredImage::open(place.imagePath);
  if (!image) return image.error().text();
  const auto volume = NtfsVolume::open(image->partition(place.partition));
  if (!volume) return "The volume cannot be read: " + systemReason(volume.error().number);
  const std::string mountPoint = makeMountPoint(place, (*volume)->label());
  if (mountPoint.empty()) return "A folder for the volume cannot be made: " + systemReason(errno);
  const auto mounted = [&report] { (void)!::write(report.get(), &kMounted, 1); };
  const bool served = serveVolume(**volume, {place.device, mountPoint}, mounted);
  ::rmdir(mountPoint.c_str());
  return served ? std::string() : "The volume cannot be mounted; FUSE (the package fuse3) is needed for it";
}

[[noreturn]] void run(const VolumePlace& place, const FileDescriptor& report, pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != parent) std::_Exit(EXIT_FAILURE);
  closeAllBut(report.get());
  limitSelf();
  allowSignals();
  const std::string error = serve(place, report);
  (void)!::write(report.get(), error.data(), error.size());
  std::_Exit(error.empty() ? EXIT_SUCCESS : EXIT_FAILURE);
}

}  // namespace

std::optional<VolumeProcess> VolumeProcess::start(const VolumePlace& place) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
  FileDescriptor reading(ends[0]);
  const FileDescriptor writing(ends[1]);
  const pid_t parent = ::getpid();
  const pid_t pid = ::fork();
  if (pid < 0) return std::nullopt;
  if (pid == 0) {
    reading.reset();
    run(place, writing, parent);
  }
  return VolumeProcess(pid, std::move(reading));
}

std::optional<std::string> VolumeProcess::waitUntilMounted() {
  std::string said;
  std::array<char, 512> piece{};
  while (said.size() < piece.size()) {
    const ssize_t got = uninterrupted([&] { return ::read(_report.get(), piece.data(), piece.size()); });
    if (got <= 0) break;
    said.append(piece.data(), static_cast<std::size_t>(got));
    if (said.front() == kMounted) return std::nullopt;
  }
  return said.empty() ? "The volume's file system could not be read" : said;
}

}  // namespace zpk
