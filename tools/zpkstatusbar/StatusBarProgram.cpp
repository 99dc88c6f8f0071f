#include "tools/zpkstatusbar/StatusBarProgram.h"

#include <QCoreApplication>
#include <QLocale>
#include <QSystemTrayIcon>
#include <algorithm>
#include <vector>

#include "interface/Translations.h"
#include "records/RecordClasses.h"
#include "tools/zpkstatusbar/StatusBarHost.h"

namespace zpk {
namespace {

constexpr Seconds kLookAgain{0.5};

QStringList languagesOf(const RunStatusBar& options) {
  return options.language.empty() ? QLocale::system().uiLanguages()
                                  : QStringList(QString::fromStdString(options.language));
}

}  // namespace

StatusBarProgram::StatusBarProgram(const RunStatusBar& options)
    : _options(options),
      _log("zpkstatusbar"),
      _localization(translationsFolder(), languagesOf(options), _log),
      _dates(DateStyle::medium, DateStyle::brief),
      _transport({.loop = _runLoop,
                  .watcher = _runLoop,
                  .log = _log,
                  .classes = recordClasses(),
                  .bus = {.which = options.sessionBus ? WhichBus::session : WhichBus::system, .address = {}}}),
      _controller({_transport, _notificationCenter, _runLoop, [this]() -> ZPKDaemon& { return connectedDaemon(); }},
                  {_localization, _dates, [this](const std::string& message, const std::string& advice) {
                     _item->showMessage(message, advice);
                   }}) {
  setToolkitLanguage(_localization.language());
}

int StatusBarProgram::run() {
  if (!waitForStatusBar()) {
    _log.line("STAT::This desktop has no status bar that shows icons.");
    return 0;
  }
  showIcon();
  // In a later turn: the icon first.
  _runLoop.performAfterDelay(Seconds(0), [this] { _controller.applicationDidFinishLaunching(); });
  _runLoop.run();
  return 0;
}

// At log-in this program may be quicker than the status bar. The toolkit knows of status bars of another kind too,
// but must not be asked too early.
bool StatusBarProgram::waitForStatusBar() {
  const Seconds end = _runLoop.now() + Seconds(_options.patienceSeconds);
  while (!isStatusBarHostRegistered()) {
    if (_runLoop.now() >= end) break;
    _runLoop.runFor(std::min(kLookAgain, end - _runLoop.now()));
  }
  return QSystemTrayIcon::isSystemTrayAvailable();
}

void StatusBarProgram::showIcon() {
  _item.emplace(
      _controller, _localization,
      StatusBarItem::Actions{.openProgram = [this] { openProgram(); }, .quit = [] { QCoreApplication::quit(); }});
  _item->show();
}

ZPKDaemon& StatusBarProgram::connectedDaemon() {
  if (!_daemon) _daemon.emplace(ZPKDaemonEnvironment{_transport, _notificationCenter, _runLoop, _log});
  return *_daemon;
}

void StatusBarProgram::openProgram() {
  const std::string path = _options.program.empty() ? std::string(ZPK_PROGRAM) : _options.program;
  std::vector<std::string> arguments;
  if (_options.sessionBus) arguments.emplace_back("--session");
  if (!_options.language.empty()) arguments.push_back("--language=" + _options.language);
  if (_workspace.launchApplication(path, arguments)) return;
  _log.line("STAT::Could not be started: " + path);
  _item->showMessage(_localization.localizedString("ZPK could not be started."), path);
}

}  // namespace zpk
