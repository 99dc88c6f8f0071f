// How long it takes to open a backup point's image, from the call to the mounted volume, beside a plain mount of
// the same volume with ntfs-3g:
//
//   open_point IMAGE.pvhd HELPER_FOLDER VOLUME.img MOUNT_POINT [ROUNDS]
//
// Takes turns, so that other load meets both, and prints the medians and their ratio. XDG_RUNTIME_DIR is where the
// drives go.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "mount/AttachedDrives.h"
#include "mount/virtualdisk/QrxCreateDrive.h"
#include "platform/linux/MountTable_linux.h"
#include "platform/linux/virtualdisk/LinuxDriveControl.h"
#include "platform/linux/virtualdisk/LinuxVirtualDiskDriver.h"
#include "platform/posix/PollRunLoop.h"

namespace zpk {
namespace {

struct AtOnce final : DispatchQueue {
  void async(std::function<void()> work) override { work(); }
};

[[noreturn]] void fail(const std::string& why) {
  std::fprintf(stderr, "open_point: %s\n", why.c_str());
  std::exit(EXIT_FAILURE);
}

double secondsOf(const std::function<void()>& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void run(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t pid = -1;
  int status = 0;
  if (::posix_spawnp(&pid, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0 ||
      ::waitpid(pid, &status, 0) != pid || status != 0)
    fail(words.front() + " failed");
}

bool isMounted(const std::string& prefix) {
  const auto mounts = LinuxMountTable().mounts();
  return std::any_of(mounts.begin(), mounts.end(),
                     [&](const Mount& mount) { return mount.mountPoint.starts_with(prefix); });
}

class OpeningBench {
 public:
  OpeningBench(std::string image, std::string helperFolder, std::string runtimeFolder)
      : _image(std::move(image)),
        _runtimeFolder(std::move(runtimeFolder)),
        _driver({_loop, _loop, std::move(helperFolder), _runtimeFolder}),
        _control(_loop, _queue, _runtimeFolder),
        _drives(_control, _loop) {
    _drives.start();
  }

  double open() {
    return secondsOf([this] {
      QrxDriveRequest request{};
      request.flags = 1;
      setImagePath(request, _image);
      QrxErrorText why{};
      if (qrxCreateDrive(_driver, request, {}, &why, nullptr) != 0) fail(why.data());
      if (!isMounted(_runtimeFolder + "/")) fail("no volume is mounted");
    });
  }
  void close() {
    bool closed = false;
    while (_drives.drives().empty()) _loop.runFor(Seconds(0.005));
    _drives.closeAll([&] { closed = true; });
    while (!closed) _loop.runFor(Seconds(0.005));
  }

 private:
  std::string _image;
  std::string _runtimeFolder;
  PollRunLoop _loop;
  AtOnce _queue;
  LinuxVirtualDiskDriver _driver;
  LinuxDriveControl _control;
  AttachedDrives _drives;
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace
}  // namespace zpk

int main(int argc, char** argv) {
  using namespace zpk;
  const char* const runtimeFolder = std::getenv("XDG_RUNTIME_DIR");
  if (argc < 5 || !runtimeFolder) fail("IMAGE.pvhd HELPER_FOLDER VOLUME.img MOUNT_POINT [ROUNDS], XDG_RUNTIME_DIR");
  const std::string volume = argv[3];
  const std::string mountPoint = argv[4];
  const int rounds = argc > 5 ? std::atoi(argv[5]) : 11;
  OpeningBench bench(argv[1], argv[2], runtimeFolder);
  std::vector<double> opened;
  std::vector<double> mounted;
  for (int round = 0; round < std::max(rounds, 1); ++round) {
    opened.push_back(bench.open());
    bench.close();
    mounted.push_back(secondsOf([&] {
      run({"ntfs-3g", "-o", "ro", volume, mountPoint});
      if (!isMounted(mountPoint)) fail("ntfs-3g mounted nothing");
    }));
    run({"umount", mountPoint});
  }
  std::printf("open a backup point: %.1f ms\nmount with ntfs-3g:  %.1f ms\nratio:               %.2f\n",
              median(opened) * 1e3, median(mounted) * 1e3, median(opened) / median(mounted));
  return EXIT_SUCCESS;
}
