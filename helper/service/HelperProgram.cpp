#include "helper/service/HelperProgram.h"

#include <fcntl.h>
#include <sys/epoll.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "helper/disks/DeviceWatcher.h"
#include "helper/disks/FolderWatcher.h"
#include "helper/service/BusService.h"
#include "helper/service/EngineArchives.h"
#include "helper/service/EventLoop.h"
#include "helper/service/HelperLog.h"
#include "helper/service/ScannedDisks.h"
#include "helper/service/SettingsFile.h"
#include "helper/service/StateFolder.h"
#include "helper/service/WorkerThread.h"
#include "helper/service/model/HelperModel.h"
#include "platform/posix/FileManager_posix.h"

namespace zpk {
namespace {

int complain(const std::string& what) {
  std::fprintf(stderr, "zpkhelper: %s\n", what.c_str());
  return 1;
}

// The icons beside the installed program, else those of the source tree that it was built from.
std::string usualIcons() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::filesystem::path installed = self.parent_path().parent_path() / "share" / "zpk" / "icons";
  return std::filesystem::is_directory(installed, error) ? installed.string() : ZPK_ICON_FOLDER;
}

// Front ends and tools have folders of their own: no path that leaves the helper is relative.
std::string fullPath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path full = std::filesystem::absolute(path, error);
  return error ? path : full.lexically_normal().string();
}

HelperOptions withFullPaths(HelperOptions options) {
  for (std::string& folder : options.disks) folder = fullPath(folder);
  if (!options.icons.empty()) options.icons = fullPath(options.icons);
  return options;
}

DiskScannerOptions scannerOptions(const HelperOptions& options) {
  DiskScannerOptions scanner;
  scanner.imageFolders = options.disks;
  scanner.listsDevices = options.devices;
  scanner.probeProgram = siblingProgram("zpkprobe");
  scanner.iconFolder = options.icons.empty() ? usualIcons() : options.icons;
  return scanner;
}

// All parts of the helper, in the order in which each needs those before it. Destroyed in the reverse order: the
// service first, then the model, then the worker, which waits for its last job.
class Helper {
 public:
  Helper(const HelperOptions& options, const StateFolder& state, EventLoop& loop, BusHandle bus)
      : _loop(loop),
        _log(state.fileAt("zpkhelper.log")),
        _settings(_files, state.fileAt("settings.json")),
        _disks(scannerOptions(options), _log),
        _archives(state.fileAt("partitions"), siblingProgram("zpktable")),
        _folders(options.disks),
        _devices(options.devices ? std::make_optional<DeviceWatcher>() : std::nullopt),
        _mounts(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)),
        _bus(std::move(bus)),
        _kind(options.session ? BusService::Kind::session : BusService::Kind::system) {}

  int run() {
    const auto loaded = _settings.load();
    if (!loaded) return complain(loaded.error().path + " cannot be read: " + loaded.error().reason);
    if (!loaded->complaint.empty()) _log.line("ZPKH::Settings: " + loaded->complaint);
    _model = std::make_unique<HelperModel>(HelperParts{_disks, _archives, _settings, _worker, _loop, _loop, _log},
                                           loaded->settings, [this](HelperModel::Weight weight) {
                                             if (_service) _service->stateChanged(weight);
                                           });
    watchTheWorld();
    _model->start([this] { serve(); });
    const int status = _loop.run();
    _model->stopForExit();
    _disks.stop();
    // What the worker ends with is for the settings: the next start tells of it.
    _worker.finish();
    _loop.runQueued();
    return status;
  }

 private:
  void serve() {
    _service = std::make_unique<BusService>(_bus.get(), _kind, _loop, *_model, _log);
    if (const auto begun = _service->begin(); !begun) {
      complain(begun.error());
      return _loop.stop(1);
    }
    _log.line("ZPKH::Serving on the " + std::string(_kind == BusService::Kind::session ? "session" : "system") +
              " bus");
  }

  // Images come and go in their folders, disks by being plugged in, and places of archives with their mounts.
  void watchTheWorld() {
    if (_folders.fd() >= 0) {
      _folderWatch = _loop.watch(_folders.fd(), EPOLLIN, [this] {
        if (_folders.drain()) _model->lookAgain();
      });
    }
    if (_devices && _devices->fd() >= 0) {
      _deviceWatch = _loop.watch(_devices->fd(), EPOLLIN, [this] {
        if (_devices->drain()) _model->lookAgain();
      });
    }
    if (_mounts) _mountWatch = _loop.watch(_mounts.get(), EPOLLPRI, [this] { _model->lookAgain(); });
  }

  EventLoop& _loop;
  HelperLog _log;
  PosixFileManager _files;
  SettingsFile _settings;
  ScannedDisks _disks;
  EngineArchives _archives;
  FolderWatcher _folders;
  std::optional<DeviceWatcher> _devices;
  FileDescriptor _mounts;
  BusHandle _bus;
  BusService::Kind _kind;
  WorkerThread _worker;
  std::unique_ptr<HelperModel> _model;
  std::unique_ptr<BusService> _service;
  Token _folderWatch;
  Token _deviceWatch;
  Token _mountWatch;
};

}  // namespace

int runHelper(const HelperOptions& options) {
  const std::string path = options.state.empty() ? StateFolder::usualPath(options.session) : options.state;
  const auto state = StateFolder::open(path);
  if (!state) return complain(state.error());
  const auto loop = EventLoop::make();
  if (!loop) return complain("no event loop can be had");
  // Before there is a second thread, so that only the loop sees them.
  const auto end = [&loop] { (*loop)->stop(0); };
  const std::array signals{(*loop)->onSignal(SIGTERM, end), (*loop)->onSignal(SIGINT, end),
                           (*loop)->onSignal(SIGHUP, end)};
  // Whoever reads standard error may go.
  std::signal(SIGPIPE, SIG_IGN);
  auto bus = BusService::connect(options.session ? BusService::Kind::session : BusService::Kind::system);
  if (!bus) return complain(bus.error());
  return Helper(withFullPaths(options), *state, **loop, std::move(*bus)).run();
}

}  // namespace zpk
