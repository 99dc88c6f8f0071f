#include "app/Composition.h"

#include <QEvent>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "helperlink/ZPKDaemon.h"
#include "interface/Translations.h"
#include "platform/linux/diagnostics/LogTasks_linux.h"
#include "platform/posix/TerminationSignals.h"
#include "platform/qt/QtLogNames.h"
#include "records/RecordClasses.h"

namespace zpk {
namespace {

// A window that is never painted (minimised from the start) does not keep the program from launching.
constexpr Seconds kLongestWaitForPaint{1.0};

Date timeOfDay() {
  const std::chrono::duration<double> sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return Date{sinceEpoch.count()};
}

// Of this login; empty without one.
std::string runtimeFolder() {
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  return folder ? folder : "";
}

}  // namespace

// Tells once when a window has been painted for the first time.
class Composition::FirstPaint final : public QObject {
 public:
  FirstPaint(QWidget& window, std::function<void()> painted) : _painted(std::move(painted)) {
    window.installEventFilter(this);
  }

  bool eventFilter(QObject* window, QEvent* event) override {
    if (event->type() == QEvent::Paint) {
      window->removeEventFilter(this);
      _painted();
    }
    return false;
  }

 private:
  std::function<void()> _painted;
};

Composition::Composition(const BusEndpoint& bus, const QStringList& languages, const InstalledPaths& paths)
    : _log("zpk"),
      _localization(translationsFolder(), languages, _log),
      _backupDates(DateStyle::medium, DateStyle::brief),
      _times(DateStyle::none, DateStyle::brief),
      _scheduleTimes(DateStyle::none, DateStyle::brief),
      _images(_fileManager),
      _transport({.loop = _runLoop, .watcher = _runLoop, .log = _log, .classes = recordClasses(), .bus = bus}),
      _virtualDisks({_runLoop, _runLoop, paths.virtualDisks, runtimeFolder()}),
      _launchctl(_tasks, paths.launcher),
      _mainQueue(_runLoop),
      _mounter(mounterEnvironment()),
      _driveControl(_runLoop, _backgroundQueue, runtimeFolder()),
      _drives(_driveControl, _runLoop) {
  setToolkitLanguage(_localization.language());
  ZPKDaemon::setSharedEnvironment(daemonEnvironment());
  // They hear of the launch in this order: the delegate shows what the schedule's editor then reads.
  _scheduler = std::make_unique<ZPKSchedulerViewController>(schedulerEnvironment());
  _delegate = std::make_unique<ZPKAppDelegate>(delegateEnvironment(paths), *_scheduler);
  _application.setDelegate(_delegate.get());
  _delegate->awakeFromNib();
  _scheduler->awakeFromNib();
  _controller = std::make_shared<ZPKUIDaemonController>(
      ZPKDaemonControllerEnvironment{_transport, _notificationCenter, _runLoop},
      ZPKUIDaemonControllerEnvironment{_localization, _fileManager, _workspace, _images, _backupDates, _log, _tasks,
                                       paths.launcher, paths.statusBarAgent, &_mounter});
  _controller->awakeFromNib();
  _watch = std::make_unique<OperationWatch>(_controller, _runLoop, timeOfDay);
  _window = std::make_unique<MainWindow>(_controller, windowSurroundings(paths));
}

Composition::~Composition() {
  _application.setDelegate(nullptr);
  // Volumes that are waited for are not waited for any more.
  _sleep.end();
}

ZPKDaemonEnvironment Composition::daemonEnvironment() {
  return {.transport = _transport, .notificationCenter = _notificationCenter, .runLoop = _runLoop, .log = _log};
}

ZPKSchedulerEnvironment Composition::schedulerEnvironment() {
  return {.notificationCenter = _notificationCenter,
          .fileManager = _fileManager,
          .launchctl = _launchctl,
          .localization = _localization,
          .timeFormatter = _scheduleTimes,
          .defaultFormatter = _backupDates};
}

ZPKAppDelegateEnvironment Composition::delegateEnvironment(const InstalledPaths& paths) {
  return {.notificationCenter = _notificationCenter,
          .application = _application,
          .workspace = _workspace,
          .localization = _localization,
          .log = _log,
          .mainQueue = _mainQueue,
          .logCollection = logCollectionEnvironment(),
          .updaterPath = paths.updater,
          .uninstallerPath = paths.uninstaller};
}

LogCollectionEnvironment Composition::logCollectionEnvironment() {
  return {.fileManager = _fileManager,
          .tasks = _tasks,
          .backgroundQueue = _backgroundQueue,
          .log = _log,
          .timeStamp = [] { return logTimeStamp(); },
          .dateDescription = [] { return dateDescription(); },
          .randomUUID = &randomUUID,
          .sleep = [](Seconds duration) { std::this_thread::sleep_for(duration); },
          .platformTasks = platformLogTasks()};
}

MainWindow::Surroundings Composition::windowSurroundings(const InstalledPaths& paths) {
  return {.localization = _localization,
          .dates = _backupDates,
          .times = _times,
          .images = _images,
          .watch = *_watch,
          .delegate = *_delegate,
          .drives = _drives,
          .timeZone = _timeZone,
          .installed = {.updater = _fileManager.fileExists(paths.updater),
                        .uninstaller = _fileManager.fileExists(paths.uninstaller),
                        .statusBarAgent = _fileManager.fileExists(paths.statusBarAgent)},
          .terminate = [this] { terminate(); }};
}

BackupPointMounterEnvironment Composition::mounterEnvironment() {
  return {.driver = _virtualDisks,
          .fileManager = _fileManager,
          .log = _log,
          .backgroundQueue = _backgroundQueue,
          .volumes = {.mountTable = _mountTable,
                      .workspace = _workspace,
                      .mainQueue = _mainQueue,
                      .sleep = [this](Seconds duration) { return _sleep.sleep(duration); }}};
}

void Composition::run() {
  // In a later turn, since a signal may come in the middle of a command.
  const TerminationSignals askedToEnd(_runLoop, [this] {
    _runLoop.performAfterDelay(Seconds(0), [this] {
      _delegate->quitWithoutAsking();
      terminate();
    });
  });
  _runLoop.run();
  _place.reset();
}

void Composition::hold(std::unique_ptr<SessionInstance> place) {
  _place = std::move(place);
  _application.setLeaving([this] { _place.reset(); });
  // In a later turn of the default mode: it may be asked in the middle of a command.
  _place->serve(_runLoop, [this](const SessionInstance::ActivationToken& token) {
    _runLoop.performAfterDelay(Seconds(0), [this, token] { comeForward(token); });
  });
}

void Composition::comeForward(const SessionInstance::ActivationToken& token) {
  // Where desktops that keep windows from pushing themselves forward look for their leave.
  if (!token.empty()) ::setenv("XDG_ACTIVATION_TOKEN", token.c_str(), 1);
  _window->comeForward();
}

void Composition::show() {
  // In the next turn: the paint event comes before the picture is on the screen.
  const auto launchSoon = [this](Seconds delay) { _runLoop.performAfterDelay(delay, [this] { launch(); }); };
  _firstPaint = std::make_unique<FirstPaint>(*_window, [launchSoon] { launchSoon(Seconds(0)); });
  launchSoon(kLongestWaitForPaint);
  _window->show();
}

void Composition::launch() {
  if (_launched) return;
  _launched = true;
  makeJobFolder();
  _notificationCenter.postNotificationName(kApplicationDidFinishLaunchingNotification);
  _drives.start();
}

// The schedule's editor takes the folder of the user's jobs for granted when it is switched on, and not every
// system gives its users one. Without it the schedule would seem to be on, and never be.
void Composition::makeJobFolder() {
  const std::string job = _scheduler->jobPath();
  if (const auto made = _fileManager.createDirectories(job.substr(0, job.rfind('/'))); !made) {
    _log.line("ZPKUI::Schedule::no folder for the job: " + made.error().reason);
  }
}

}  // namespace zpk
