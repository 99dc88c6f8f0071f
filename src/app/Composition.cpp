#include "app/Composition.h"

#include <QEvent>
#include <chrono>

#include "helperlink/ZPKDaemon.h"
#include "interface/Translations.h"
#include "records/RecordClasses.h"

namespace zpk {
namespace {

// A window that is never painted (minimised from the start) does not keep the program from launching.
constexpr Seconds kLongestWaitForPaint{1.0};

Date timeOfDay() {
  const std::chrono::duration<double> sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return Date{sinceEpoch.count()};
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
      _images(_fileManager),
      _transport({.loop = _runLoop, .watcher = _runLoop, .log = _log, .classes = recordClasses(), .bus = bus}) {
  setToolkitLanguage(_localization.language());
  ZPKDaemon::setSharedEnvironment(daemonEnvironment());
  _controller = std::make_shared<ZPKUIDaemonController>(
      ZPKDaemonControllerEnvironment{_transport, _notificationCenter, _runLoop},
      ZPKUIDaemonControllerEnvironment{_localization, _fileManager, _workspace, _images, _backupDates, _log, _tasks,
                                       paths.launcher, paths.statusBarAgent});
  _controller->awakeFromNib();
  _watch = std::make_unique<OperationWatch>(_controller, _runLoop, timeOfDay);
  _window = std::make_unique<MainWindow>(
      _controller, MainWindow::Surroundings{_localization, _backupDates, _times, _images, *_watch});
}

Composition::~Composition() = default;

ZPKDaemonEnvironment Composition::daemonEnvironment() {
  return {.transport = _transport, .notificationCenter = _notificationCenter, .runLoop = _runLoop, .log = _log};
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
  _notificationCenter.postNotificationName(kApplicationDidFinishLaunchingNotification);
}

}  // namespace zpk
